#include "ioss_mcsq/HC_MCSQ.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <limits>
#include <utility>

#include "utilities/Console.h"

namespace FACE::IOSS {

namespace {

using utilities::MutexLock;

enum Parameter : std::uint16_t { PORT = 0 };

/** `length` for a call that takes an int; what doesn't fit is left for a short transfer to show. */
int transferLength(std::uint32_t length, int most) {
    return static_cast<int>(std::min(length, static_cast<std::uint32_t>(most)));
}

bool dataWaits(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN) != 0;
}

/** Counts those who want a lock for as long as they wait for it. */
class Caller {
public:
    explicit Caller(std::atomic<int>& callers) : m_callers(callers) { ++m_callers; }
    ~Caller() { --m_callers; }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

private:
    std::atomic<int>& m_callers;
};

}  // namespace

HC_MCSQ::Connection_t::Connection_t(std::string_view theName, std::uint16_t thePort)
    : name(theName), port(thePort), path(utilities::concat("/dev/mcs", thePort)) {}

HC_MCSQ::~HC_MCSQ() {
    m_stop = true;
    if (m_callbackThread.joinable()) {
        m_callbackThread.join();
    }
}

void HC_MCSQ::Set_Reference(const String& /*interface_name*/,
                            const std::shared_ptr<Configuration>& reference, long long /*id*/,
                            Return_Code& rc) {
    m_configuration.Set_Reference(reference, rc);
}

void HC_MCSQ::Initialize(const String& file, Return_Code& rc) {
    m_configuration.Initialize(file, rc);
}

void HC_MCSQ::Open_Connection(const String& name, long long /*timeout*/, long long& connection,
                              Return_Code& rc) {
    connection = -1;
    try {
        const long long index = findOrAppend(name);
        if (index < 0) {
            rc = RETURN_CODE_TYPE::INVALID_CONFIG;
            return;
        }
        rc = RETURN_CODE_TYPE::NO_ACTION;
        if (open(index)) {
            connection = index;
            rc = RETURN_CODE_TYPE::NO_ERROR;
        }
    } catch (const std::exception& error) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
        utilities::printErrorLine(__LINE__, ": ", error.what());
    }
}

void HC_MCSQ::Close_Connection(long long connection, Return_Code& rc) {
    Ports closed;  // which closes the descriptors
    {
        const MutexLock lock(m_connectionsMutex);
        if (Connection_t* const found = m_connections.findOpen(connection, rc)) {
            found->state = CLOSED;
            found->isOpen = false;
            std::swap(found->ports, closed);
        }
    }
    if (closed.reader) {
        unregister(closed.reader.get());
    }
}

void HC_MCSQ::Read(long long connection, long long /*timeout*/, MCSQ::Read_Payload& payload,
                   Return_Code& rc) {
    const auto reader = portOf(connection, &Ports::reader, rc);
    if (!reader) {
        return;
    }
    const int room = transferLength(payload.data.length(), MAX_READ);
    const ssize_t got = room < 1 ? 0 : reader->readFromPort(payload.data.buffer(), room);
    rc = RETURN_CODE_TYPE::NO_ACTION;
    if (got > 0) {
        payload.data.resize(static_cast<std::uint32_t>(got));
        rc = RETURN_CODE_TYPE::NO_ERROR;
    }
}

void HC_MCSQ::Write(long long connection, long long /*timeout*/,
                    const Sequence<unsigned char>& payload, Return_Code& rc) {
    const auto writer = portOf(connection, &Ports::writer, rc);
    if (!writer) {
        return;
    }
    const int length = transferLength(payload.length(), std::numeric_limits<int>::max());
    const ssize_t sent = length < 1 ? 0 : writer->writeToPort(payload.buffer(), length);
    rc = sent == static_cast<ssize_t>(payload.length()) ? RETURN_CODE_TYPE::NO_ERROR
                                                        : RETURN_CODE_TYPE::NO_ACTION;
}

void HC_MCSQ::Configure_Connection_Parameters(long long connection, long long /*timeout*/,
                                              const IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                              Return_Code& rc) {
    lookUp(connection, RETURN_CODE_TYPE::NO_ACTION, rc);
}

void HC_MCSQ::Get_Connection_Configuration(long long connection, long long /*timeout*/,
                                           IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                           Return_Code& rc) {
    rc = RETURN_CODE_TYPE::INVALID_PARAM;
    const MutexLock lock(m_connectionsMutex);
    const Connection_t* const found = m_connections.find(connection);
    if (found == nullptr) {
        return;
    }
    rc = RETURN_CODE_TYPE::NO_ERROR;
    for (std::uint32_t i = 0; i < parameters.parameters.length(); ++i) {
        IO_PARAMETER_TYPE& entry = parameters.parameters[i];
        if (entry.id == PORT) {
            entry.value.ushort_value(found->port);
        } else {
            rc = RETURN_CODE_TYPE::INVALID_PARAM;
        }
    }
}

void HC_MCSQ::Configure_Bus_Parameters(long long connection, long long /*timeout*/,
                                       const IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                       Return_Code& rc) {
    lookUp(connection, RETURN_CODE_TYPE::NO_ACTION, rc);
}

void HC_MCSQ::Get_Bus_Configuration(long long connection, long long /*timeout*/,
                                    IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                    Return_Code& rc) {
    lookUp(connection, RETURN_CODE_TYPE::NO_ACTION, rc);
}

void HC_MCSQ::Get_Connection_Status(long long connection, CONNECTION_STATUS_TYPE& status,
                                    Return_Code& rc) {
    const MutexLock lock(m_connectionsMutex);
    if (const Connection_t* const found = m_connections.findOpen(connection, rc)) {
        status = {0, true, found->state};
    }
}

void HC_MCSQ::Get_Bus_Status(long long connection, std::uint16_t& status, Return_Code& rc) {
    status = 1;
    Return_Code found = RETURN_CODE_TYPE::NO_ERROR;
    lookUp(connection, RETURN_CODE_TYPE::NO_ERROR, found);
    if (found == RETURN_CODE_TYPE::NO_ERROR) {
        status = 0;
        return;
    }
    rc = found;
}

void HC_MCSQ::Register_Notification_Event(long long connection, IO_Callback& callback,
                                          Return_Code& rc) {
    const auto reader = portOf(connection, &Ports::reader, rc);
    if (!reader) {
        return;
    }
    const Caller caller(m_callers);
    const MutexLock lock(m_pollMutex);
    removeDescriptor(reader.get());  // where it is registered already
    try {
        m_registrations.reserve(m_registrations.size() + 1);
        m_descriptors.push_back({reader->getFileDescriptor(), POLLIN, 0});
        m_registrations.push_back({reader, &callback, connection});
        startThread();
    } catch (const std::exception& error) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
        utilities::printErrorLine(__LINE__, ": ", error.what());
    }
}

void HC_MCSQ::Unregister_Notification_Event(long long connection, Return_Code& rc) {
    if (const auto reader = portOf(connection, &Ports::reader, rc)) {
        unregister(reader.get());
    }
}

void HC_MCSQ::unregister(const mcsReaderPort* reader) {
    const Caller caller(m_callers);
    const MutexLock lock(m_pollMutex);
    removeDescriptor(reader);
}

void HC_MCSQ::removeDescriptor(const mcsReaderPort* reader) {
    const auto found = std::find_if(
        m_registrations.begin(), m_registrations.end(),
        [&](const Registration& registration) { return registration.reader.get() == reader; });
    if (found != m_registrations.end()) {
        m_descriptors.erase(m_descriptors.begin() + (found - m_registrations.begin()));
        m_registrations.erase(found);
    }
}

void HC_MCSQ::startThread() {
    if (m_callbackThread.joinable()) {
        return;
    }
    m_stop = false;
    m_callbackThread = std::thread([this] { callbackThreadFunction(); });
}

void HC_MCSQ::callbackThreadFunction() {
    Pass pass = Pass::Calm;
    while (!m_stop && pass != Pass::Ended) {
        // Mutexes aren't fair: without this the thread would take its own back at once.
        while (m_callers > 0) {
            std::this_thread::sleep_for(BATCH_PAUSE);
        }
        pass = pollOnce();
        if (pass == Pass::Served) {
            std::this_thread::sleep_for(BATCH_PAUSE);
        } else if (pass == Pass::Broken) {
            std::this_thread::sleep_for(POLL_PERIOD);
        }
    }
    m_stop = true;
}

HC_MCSQ::Pass HC_MCSQ::pollOnce() {
    const MutexLock lock(m_pollMutex);
    if (m_descriptors.empty()) {
        return Pass::Ended;
    }
    const int ready =
        ::poll(m_descriptors.data(), m_descriptors.size(), static_cast<int>(POLL_PERIOD.count()));
    if (ready <= 0) {
        return ready == 0 || errno == EINTR ? Pass::Calm : Pass::Ended;
    }
    return callBack() ? Pass::Served : Pass::Broken;
}

bool HC_MCSQ::callBack() {
    bool served = false;
    for (std::size_t i = 0; i < m_descriptors.size(); ++i) {
        // Where two connections share a device, the callback before may have taken the data; a
        // read would then wait for more.
        const pollfd& entry = m_descriptors[i];
        if ((entry.revents & POLLIN) == 0 || (served && !dataWaits(entry.fd))) {
            continue;
        }
        served = true;
        const Registration& registration = m_registrations[i];
        try {
            registration.callback->Process_Notification_Event(
                registration.connection, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE);
        } catch (const std::exception& error) {
            utilities::printErrorLine(__LINE__, ": ", error.what());
        } catch (...) {
            utilities::printErrorLine(__LINE__, ": unknown exception");
        }
    }
    return served;
}

void HC_MCSQ::lookUp(long long connection, Return_Code found, Return_Code& rc) {
    const MutexLock lock(m_connectionsMutex);
    if (m_connections.findOpen(connection, rc) != nullptr) {
        rc = found;
    }
}

template <typename Port>
std::shared_ptr<Port> HC_MCSQ::portOf(long long connection, std::shared_ptr<Port> Ports::*port,
                                      Return_Code& rc) {
    const MutexLock lock(m_connectionsMutex);
    const Connection_t* const found = m_connections.findOpen(connection, rc);
    return found == nullptr ? nullptr : found->ports.*port;
}

long long HC_MCSQ::findOrAppend(const String& name) {
    {
        const MutexLock lock(m_connectionsMutex);
        if (const long long known = m_connections.idOf(name.view()); known >= 0) {
            return known;
        }
    }
    const auto parameters = m_configuration.read<1>(name, {"Port"});
    if (!parameters) {
        return -1;
    }
    const MutexLock lock(m_connectionsMutex);
    return m_connections.append(name.view(), static_cast<std::uint16_t>(parameters->front()));
}

bool HC_MCSQ::open(long long index) {
    const char* path = nullptr;
    {
        const MutexLock lock(m_connectionsMutex);
        Connection_t& connection = *m_connections.find(index);
        if (connection.isOpen) {
            return true;
        }
        connection.state = OPENING;
        path = connection.path.c_str();
    }
    Ports ports = openPorts(path);
    if (!ports.reader) {
        return false;
    }
    const MutexLock lock(m_connectionsMutex);
    Connection_t& connection = *m_connections.find(index);
    connection.ports = std::move(ports);
    connection.state = CONNECTED;
    connection.isOpen = true;
    return true;
}

HC_MCSQ::Ports HC_MCSQ::openPorts(const char* path) {
    const Ports ports{std::make_shared<mcsReaderPort>(), std::make_shared<mcsWriterPort>()};
    ports.reader->set_filename(path);
    ports.writer->set_filename(path);
    if (ports.reader->can_open_file() == 0 || ports.writer->can_open_file() == 0) {
        return {};
    }
    const bool readable = ports.reader->openPort() != -1;
    const bool writable = ports.writer->openPort() != -1;
    return readable && writable ? ports : Ports{};
}

}  // namespace FACE::IOSS
