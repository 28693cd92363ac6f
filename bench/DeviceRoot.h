/** The unit's file system as far as the server sees it, laid in a temporary directory. */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "bench/Descriptor.h"

namespace bench {

/** Names of the files below opt/halcyrine/config. */
inline constexpr const char* serverFile = "VGpsReceiverServer.xml";
inline constexpr const char* connectionsFile = "Connections.xml";
inline constexpr const char* ioDevicesFile = "IODevices.xml";
inline constexpr const char* serviceFile = "GPSReceiverServiceConfig_1_9.xml";
inline constexpr const char* vclFile = "GPSReceiver_VCL_1_9.xml";

/** A directory for HALCYRINE_ROOT that holds
 *
 *      dev/mem              a sparse file, long enough for every block of the I/O devices file
 *      dev/mcs0 and so on   a named pipe for every channel of the I/O devices file
 *      opt/halcyrine/config the files of config/, to be edited before the server starts
 *      run/victory          where the VICTORY library puts its socket
 *
 *  The directory goes with the object, and also when this process is killed: a helper process of
 *  the object waits for its end. Errors of the file system raise std::runtime_error or what is
 *  derived from it. One thread at a time.
 */
class DeviceRoot {
public:
    DeviceRoot();
    ~DeviceRoot();
    DeviceRoot(const DeviceRoot&) = delete;
    DeviceRoot& operator=(const DeviceRoot&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    /** The file behind a path of the platform, "/dev/mcs0" for instance. */
    std::filesystem::path file(const std::string& platformPath) const;
    /** The file of that name in opt/halcyrine/config. */
    std::filesystem::path configFile(const std::string& name) const;
    std::filesystem::path busSocket() const;
    /** The plain path of the server's own file: the argument of the server, as on the unit. */
    static std::string serverArgument();

    /** The directory stays behind, however this process ends. */
    void keep();

    bool hasContainer(const std::string& file, const std::string& container) const;
    /** The text of a parameter of the container named `container`, or empty. */
    std::string parameter(const std::string& file, const std::string& container,
                          const std::string& name) const;
    /** Numbers take their base from their prefix. Raises when the parameter is no number. */
    unsigned long number(const std::string& file, const std::string& container,
                         const std::string& name) const;
    /** Sets a parameter, adding it when it is absent. An empty value leaves an empty element. */
    void setParameter(const std::string& file, const std::string& container,
                      const std::string& name, const std::string& value);
    void removeParameter(const std::string& file, const std::string& container,
                         const std::string& name);
    /** Adds one without parameters, unless there is one of that name. */
    void addContainer(const std::string& file, const std::string& container);
    void removeContainer(const std::string& file, const std::string& container);

    /** Sets "updatePeriod" [ms] of a data item of the VCL. 0 publishes whatever is told. */
    void setUpdatePeriod(const std::string& dataItem, unsigned milliseconds);
    /** The same for all data items. */
    void setUpdatePeriods(unsigned milliseconds);

private:
    void layMemory() const;
    void layQueues() const;
    void startRemover();

    std::filesystem::path m_path;
    Descriptor m_removerInput;  ///< its end of file tells the remover that this process is gone
    int m_remover = -1;         ///< process id of the remover
    bool m_kept = false;
};

}  // namespace bench
