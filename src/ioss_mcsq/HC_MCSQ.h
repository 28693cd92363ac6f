/** Connections to the numbered queue devices /dev/mcs0, /dev/mcs1 and so on. */
#pragma once

#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "ioss/Connection_Table.h"
#include "ioss/Device_Configuration.h"
#include "ioss_mcsq/MCSQ_IO_Service.h"
#include "ioss_mcsq/mcsQport.h"
#include "utilities/Mutex.h"

namespace FACE::IOSS {

/** A connection is one device, opened for reading and for writing; its name finds a container of
 *  the configuration with "Port". Order of use: Set_Reference, Initialize, Open_Connection,
 *  Register_Notification_Event for the connections to hear of.
 *
 *  Threads: connections are made and closed on one thread at a time. All other operations may be
 *  called from any thread. A connection that is closed under a Read or Write stays open until that
 *  has ended.
 *
 *  Callbacks run one at a time on the one thread of this object, which starts with the first
 *  registration and inherits its scheduling. They hold the poll mutex, so they must not register,
 *  unregister, close or destroy this object; they may read, write and look. Locks are taken in this
 *  order: poll mutex, whatever a callback takes, connections mutex.
 *
 *  Registering, unregistering and closing wait for the poll mutex, so up to one poll period. A
 *  descriptor of this object's own in the set could end that wait early, but poll looks at all of
 *  the set on each wake-up: it would cost every frame for what happens twice in a life.
 *
 *  Operations that look a connection up give INVALID_PARAM for an id that was never given and
 *  CONNECTION_CLOSED for a connection that isn't open.
 */
class HC_MCSQ : public MCSQ::IO_Service, public Configuration_Injectable::Injectable {
public:
    /** What one Read takes at most [bytes]. */
    static constexpr int MAX_READ = 0x20000;

    /** Bounds the reaction to a stop and to whoever wants the poll mutex, not to data, and paces
     * the thread when only broken descriptors wake it. */
    static constexpr std::chrono::milliseconds POLL_PERIOD{50};

    /** Behind each batch of callbacks, so that the writer of the device runs between two reads. */
    static constexpr std::chrono::microseconds BATCH_PAUSE{100};

    HC_MCSQ() = default;
    /** Stops the thread, which waits for a callback under way, and closes what is open. */
    ~HC_MCSQ() override;
    HC_MCSQ(const HC_MCSQ&) = delete;
    HC_MCSQ& operator=(const HC_MCSQ&) = delete;

    /** NOT_AVAILABLE: set already; INVALID_PARAM: null. Name and id are not looked at. */
    void Set_Reference(const String& interface_name,
                       const std::shared_ptr<Configuration>& reference, long long id,
                       Return_Code& rc) override;

    /** NO_ACTION: initialized already; INVALID_CONFIG: the file can't be taken. */
    void Initialize(const String& file, Return_Code& rc) override;

    /** `connection` is -1 unless it works. INVALID_CONFIG: no such container, or it has no "Port";
     *  NO_ACTION: the device can't be opened (the port says so on standard error, and the next open
     *  of the name tries again), or an exception, written to standard error.
     */
    void Open_Connection(const String& name, long long timeout, long long& connection,
                         Return_Code& rc) override;

    /** Looks up, and ends its notifications, too. The id stays and is given again for the name. */
    void Close_Connection(long long connection, Return_Code& rc) override
        EXCLUDES(m_pollMutex, m_connectionsMutex);

    /** Looks up, and reads once what the device holds, up to the payload's length and MAX_READ; may
     *  be several records. Waits when there is nothing. NO_ACTION: nothing was read.
     */
    void Read(long long connection, long long timeout, MCSQ::Read_Payload& payload,
              Return_Code& rc) override;

    /** Looks up, and writes all of `payload` in one call. NO_ACTION: not all of it went, which is
     *  also how the wait for a full queue ends, after mcsWriterPort::writeLimit. No lock is held
     *  over that wait, so it holds up nobody else.
     *
     *  A pipe in the device's place never raises SIGPIPE, as the connection's own reader keeps it
     *  open at the other end.
     */
    void Write(long long connection, long long timeout, const Sequence<unsigned char>& payload,
               Return_Code& rc) override;

    /** Looks up; nothing can be changed: NO_ACTION. */
    void Configure_Connection_Parameters(long long connection, long long timeout,
                                         const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                         Return_Code& rc) override;

    /** Fills in parameter 0, the port as `ushort`, open or not. INVALID_PARAM: an id that was never
     *  given, or another parameter was among them.
     */
    void Get_Connection_Configuration(long long connection, long long timeout,
                                      IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                      Return_Code& rc) override;

    /** Look up; there is no bus: NO_ACTION. */
    void Configure_Bus_Parameters(long long connection, long long timeout,
                                  const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                  Return_Code& rc) override;
    void Get_Bus_Configuration(long long connection, long long timeout,
                               IO_PARAMETER_TRANSACTION_TYPE& parameters, Return_Code& rc) override;

    /** Looks up. */
    void Get_Connection_Status(long long connection, CONNECTION_STATUS_TYPE& status,
                               Return_Code& rc) override;

    /** Looks up: `status` is 0 for an open connection, and `rc` stays; else it is 1. */
    void Get_Bus_Status(long long connection, std::uint16_t& status, Return_Code& rc) override;

    /** Looks up. From now on `callback` hears when data waits, with DATA_AVAILABLE; it takes the
     *  place of an earlier one, and outlives its registration. NO_ACTION: no memory or no thread,
     *  said on standard error. The thread ends for good when poll fails or the last registration
     *  goes; registering afterwards starts none.
     */
    void Register_Notification_Event(long long connection, IO_Callback& callback,
                                     Return_Code& rc) override
        EXCLUDES(m_pollMutex, m_connectionsMutex);

    /** Looks up. Once it returns, the callback neither runs nor is called. */
    void Unregister_Notification_Event(long long connection, Return_Code& rc) override
        EXCLUDES(m_pollMutex, m_connectionsMutex);

private:
    enum State : std::uint32_t { CLOSED = 0, OPENING = 1, CONNECTED = 2 };

    /** Both ends of an open device. Shared with the transfers under way, so that a close never
     *  takes a descriptor from under them. */
    struct Ports {
        std::shared_ptr<mcsReaderPort> reader;
        std::shared_ptr<mcsWriterPort> writer;
    };

    struct Connection_t {
        Connection_t(std::string_view theName, std::uint16_t thePort);

        const std::string name;
        const std::uint16_t port;
        const std::string path;
        Ports ports;
        bool isOpen = false;
        std::uint32_t state = CLOSED;
    };

    /** Who hears of a descriptor of the set. Keeps the port, so that no other file can come under
     *  its number. */
    struct Registration {
        std::shared_ptr<mcsReaderPort> reader;
        IO_Callback* callback = nullptr;
        long long connection = -1;
    };

    /** What one pass of the thread came to. */
    enum class Pass {
        Served,  ///< called back
        Calm,    ///< nothing waits
        Broken,  ///< woken by descriptors that have no data for anybody; they would do it again
        Ended,   ///< nothing to poll any more, or poll failed
    };

    void lookUp(long long connection, Return_Code found, Return_Code& rc)
        EXCLUDES(m_connectionsMutex);
    template <typename Port>
    std::shared_ptr<Port> portOf(long long connection, std::shared_ptr<Port> Ports::*port,
                                 Return_Code& rc) EXCLUDES(m_connectionsMutex);

    long long findOrAppend(const String& name) EXCLUDES(m_connectionsMutex);
    bool open(long long index) EXCLUDES(m_connectionsMutex);
    static Ports openPorts(const char* path);

    void unregister(const mcsReaderPort* reader) EXCLUDES(m_pollMutex);
    void removeDescriptor(const mcsReaderPort* reader) REQUIRES(m_pollMutex);
    void startThread() REQUIRES(m_pollMutex);

    void callbackThreadFunction() EXCLUDES(m_pollMutex);
    Pass pollOnce() EXCLUDES(m_pollMutex);
    bool callBack() REQUIRES(m_pollMutex) EXCLUDES(m_connectionsMutex);

    Device_Configuration m_configuration;

    /** Guards the descriptor set; held while polling and calling back. */
    utilities::Mutex m_pollMutex ACQUIRED_BEFORE(m_connectionsMutex);

    /** Guards the connections; held for look-ups, never over a system call. */
    utilities::Mutex m_connectionsMutex;

    Connection_Table<Connection_t> m_connections GUARDED_BY(m_connectionsMutex);

    /** Entry i of one belongs to entry i of the other: poll wants an array of its own. */
    std::vector<pollfd> m_descriptors GUARDED_BY(m_pollMutex);
    std::vector<Registration> m_registrations GUARDED_BY(m_pollMutex);

    /** How many want the poll mutex; the thread lets them have it first. */
    std::atomic<int> m_callers{0};

    std::thread m_callbackThread GUARDED_BY(m_pollMutex);
    std::atomic<bool> m_stop{true};  ///< false while the thread is to run
};

}  // namespace FACE::IOSS
