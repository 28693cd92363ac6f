#include "VICTORY/Utilities/VictoryFaultHelper.h"

#include <algorithm>
#include <utility>

#include "utilities/Console.h"
#include "utilities/kbhit.h"

using utilities::printLine;

namespace {

constexpr const char* faultText = "Fake Fault for Compliance Testing";
constexpr VhlthcCategory category = 22;
constexpr VhlthcAction action = 1;
/** In front of a line, it takes the echo of the key off the console. */
constexpr char backspace = '\b';

/** The calls of one kind of service, for a handle whose type is forgotten. */
template <typename T>
using Add = unsigned (*)(T*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction);
template <typename T, Add<T> call>
unsigned addFault(void* service, bool acknowledged, VhlthcSeverity severity) {
    return call(static_cast<T*>(service), faultText, acknowledged ? 1 : 0, severity, category,
                action);
}
template <typename T, void (*call)(T*, unsigned)>
void removeFault(void* service, unsigned id) {
    call(static_cast<T*>(service), id);
}

struct Mode {
    const char* FaultModeString;
    char key = 0;
    const char* available = "";
    const char* selected = "";
    unsigned (*add)(void*, bool, VhlthcSeverity) = nullptr;
    void (*remove)(void*, unsigned) = nullptr;
};

/** The place is the mode's number, which faultModeOf gives too. */
constexpr std::array<Mode, 7> modes{{
    {"none."},
    {"Position", 'p', "Position ", "Changed to Position fault test mode",
     addFault<VpossService, vpossAddFault>, removeFault<VpossService, vpossRemoveFault>},
    {"Orientation", 'o', "Orientation ", "Changed to Orientation fault test mode",
     addFault<VorisService, vorisAddFault>, removeFault<VorisService, vorisRemoveFault>},
    {"Direction of Travel", 'd', "Direction of Travel ",
     "Changed to Direction of Travel fault test mode", addFault<VdotsService, vdotsAddFault>,
     removeFault<VdotsService, vdotsRemoveFault>},
    {"GPS Receiver", 'g', "GPS Receiver ", "GPS Receiver fault test mode",
     addFault<VgpssService, vgpssAddFault>, removeFault<VgpssService, vgpssRemoveFault>},
    {"Generic End Node", 'e', "Generic End Node ", "Generic End Node fault test mode",
     addFault<VgensService, vgensAddFault>, removeFault<VgensService, vgensRemoveFault>},
    {"APNT", 'a', "APNT", "APNT fault test mode", addFault<VapntsService, vapntsAddFault>,
     removeFault<VapntsService, vapntsRemoveFault>},
}};

struct Severity {
    const char* word;
    VhlthcSeverity code;
};

/** Digits 1 to 5 raise these acknowledged, 6 to 9 and 0 not. */
constexpr std::array<Severity, 5> severities{{
    {"Emergency", 37},
    {"Alert", 36},
    {"Critical", 35},
    {"Error", 34},
    {"Warning", 33},
}};

constexpr Severity severityOf(int digit) {
    return severities[static_cast<std::size_t>((digit + 4) % 5)];
}

constexpr bool isAcknowledged(int digit) {
    return digit >= 1 && digit <= 5;
}

constexpr const Mode& modeAt(int number) {
    return modes[static_cast<std::size_t>(number)];
}

}  // namespace

VictoryFaultHelper::VictoryFaultHelper(std::string serverName)
    : m_serverName(std::move(serverName)) {}

void VictoryFaultHelper::setService(int mode, void* service) {
    if (service == nullptr) {
        return;
    }
    m_services[static_cast<std::size_t>(mode)] = {service, true, 0};
    m_faultMode = mode;
    m_availableServices += modeAt(mode).available;
}

void VictoryFaultHelper::renewService(int mode, void* service, std::uint64_t generation) {
    Service& known = m_services[static_cast<std::size_t>(mode)];
    if (!known.given) {
        return;
    }
    known.handle = service;
    if (service != nullptr && std::exchange(known.generation, generation) != generation) {
        m_faultIds[static_cast<std::size_t>(mode)] = {};
    }
}

void VictoryFaultHelper::ManageFaults(bool& tellDisabled) {
    if (_kbhit() != 0) {
        handleKey(nextKey(), tellDisabled);
    }
}

void VictoryFaultHelper::handleKey(int key, bool& tellDisabled) {
    if (key >= '0' && key <= '9') {
        const int digit = key - '0';
        if (faultId(digit) == 0) {
            activateFault(digit, isAcknowledged(digit));
        } else {
            deactivateFault(digit);
        }
        return;
    }
    if (key == 'z') {
        tellDisabled = !tellDisabled;
        printLine(backspace, m_serverName,
                  tellDisabled ? "Tell disabled for " : "Tell enabled for ", m_availableServices);
        return;
    }
    if (key == 'h' || key == '\n' || key == ' ') {
        displayHelpText();
        return;
    }
    const auto* const mode = std::ranges::find(modes, key, &Mode::key);
    if (mode != modes.end() && key != 0) {
        selectMode(static_cast<int>(mode - modes.begin()));
    }
}

void VictoryFaultHelper::selectMode(int mode) {
    if (!m_services[static_cast<std::size_t>(mode)].given) {
        printLine('\n', m_serverName, " VictoryFaultHelper : CANNOT change fault test mode to ",
                  modeAt(mode).FaultModeString,
                  " Service! Mode remains: ", modeAt(m_faultMode).FaultModeString);
        return;
    }
    m_faultMode = mode;
    printLine('\n', m_serverName, " VictoryFaultHelper : ", modeAt(mode).selected);
}

unsigned& VictoryFaultHelper::faultId(int key) {
    return m_faultIds[static_cast<std::size_t>(m_faultMode)].at(static_cast<std::size_t>(key));
}

void VictoryFaultHelper::activateFault(int key, bool acknowledged) {
    unsigned& id = faultId(key);
    const Severity severity = severityOf(key);
    if (void* const service = currentService(); service != nullptr) {
        id = modeAt(m_faultMode).add(service, acknowledged, severity.code);
    }
    printLine(backspace, m_serverName, "Added ", acknowledged ? "" : "non-", "acknowledged ",
              severity.word, " ", modeAt(m_faultMode).FaultModeString, " Fault: ", id);
}

void VictoryFaultHelper::deactivateFault(int key) {
    unsigned& id = faultId(key);
    if (void* const service = currentService(); service != nullptr) {
        modeAt(m_faultMode).remove(service, id);
    }
    printLine(backspace, m_serverName, " Removed ", modeAt(m_faultMode).FaultModeString,
              " fault: ", id);
    id = 0;
}

void VictoryFaultHelper::displayHelpText() const {
    printLine('\n', m_serverName,
              " VictoryFaultHelper available keys:\n"
              "    1 = Send / Remove Acknowledged Emergency\n"
              "    2 = Send / Remove Acknowledged Alert\n"
              "    3 = Send / Remove Acknowledged Critical\n"
              "    4 = Send / Remove Acknowledged Error\n"
              "    5 = Send / Remove Acknowledged Warning\n"
              "    6 = Send / Remove Nonacknowledged Emergency\n"
              "    7 = Send / Remove Nonacknowledged Alert\n"
              "    8 = Send / Remove Nonacknowledged Critical\n"
              "    9 = Send / Remove Nonacknowledged Error\n"
              "    0 = Send / Remove Nonacknowledged Warning\n"
              "    p = Select Position fault mode\n"
              "    o = Select Orientation fault mode\n"
              "    d = Select Direction of Travel fault mode\n"
              "    g = Select GPS Receiver fault mode\n"
              "    e = Select Generic End Node fault mode\n"
              "    a = Select APNT fault mode\n"
              "    z = Disable VICTORY service \"Tell\" output\n");
}
