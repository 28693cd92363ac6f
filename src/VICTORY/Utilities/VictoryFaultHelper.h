/** Fault test mode: console keys raise and clear made-up faults of VICTORY services and silence
 *  their reports, for compliance tests of the bus.
 */
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "victory/victory.h"

/** The mode of each kind of service, for no other type; mode 0 is none. */
template <typename T>
extern const int faultModeOf;
template <>
inline constexpr int faultModeOf<VpossService> = 1;
template <>
inline constexpr int faultModeOf<VorisService> = 2;
template <>
inline constexpr int faultModeOf<VdotsService> = 3;
template <>
inline constexpr int faultModeOf<VgpssService> = 4;
template <>
inline constexpr int faultModeOf<VgensService> = 5;
template <>
inline constexpr int faultModeOf<VapntsService> = 6;

/** Turns keys into calls of the library; displayHelpText says which.
 *
 *  A digit raises its fault in the service of the current mode, and clears it when pressed again.
 *  Faults of other modes stay as they are, and so do all of them when the helper goes. One thread
 * at a time. A service given here must live through the calls below that may reach it: RenewService
 *  and ManageFaults, under one lease of its handle.
 */
class VictoryFaultHelper {
public:
    /** `serverName` leads the console lines. */
    explicit VictoryFaultHelper(std::string serverName);
    virtual ~VictoryFaultHelper() = default;
    VictoryFaultHelper(const VictoryFaultHelper&) = delete;
    VictoryFaultHelper& operator=(const VictoryFaultHelper&) = delete;

    /** Offers the mode of this kind of service, and selects it. A null changes nothing. */
    template <typename T>
    void SetAvailableService(T* service) {
        setService(faultModeOf<T>, service);
    }
    /** The service's handle of now, for one that was given before; null while it is down. A new
     *  `generation` is a new service, which has none of the faults of before. */
    template <typename T>
    void RenewService(T* service, std::uint64_t generation) {
        renewService(faultModeOf<T>, service, generation);
    }

    /** Takes at most one key of the console; never waits for one. */
    void ManageFaults(bool& tellDisabled);
    /** Obeys a key, as a character; others than those of displayHelpText are ignored. */
    void handleKey(int key, bool& tellDisabled);

    /** Raises the fault of a digit in the current mode. In mode 0, and while the service is down,
     * it stays cleared.
     *  @throws std::out_of_range, as the next does, for a key outside 0 to 9 */
    void activateFault(int key, bool acknowledged);
    void deactivateFault(int key);
    void displayHelpText() const;

private:
    static constexpr std::size_t modeCount = 7;

    struct Service {
        void* handle = nullptr;
        bool given = false;
        std::uint64_t generation = 0;
    };

    void setService(int mode, void* service);
    void renewService(int mode, void* service, std::uint64_t generation);
    void selectMode(int mode);
    void* currentService() const {
        return m_services[static_cast<std::size_t>(m_faultMode)].handle;
    }
    unsigned& faultId(int key);

    const std::string m_serverName;
    int m_faultMode = 0;
    /** By mode and digit; 0: not raised. */
    std::array<std::array<unsigned, 10>, modeCount> m_faultIds{};
    std::string m_availableServices;
    std::array<Service, modeCount> m_services{};
};
