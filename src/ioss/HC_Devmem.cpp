#include "ioss/HC_Devmem.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <string_view>
#include <thread>

namespace FACE::IOSS {

namespace {

enum Parameter : std::uint16_t { BASE_ADDRESS = 0, SIZE = 1 };

struct Register_Access {
    std::uint32_t width;  ///< [bits]
    std::uint64_t (*load)(const volatile void* address);
    void (*store)(volatile void* address, std::uint64_t value);
};

template <typename Register>
constexpr Register_Access accessOf() {
    return {sizeof(Register) * 8,
            [](const volatile void* address) -> std::uint64_t {
                return *static_cast<const volatile Register*>(address);
            },
            [](volatile void* address, std::uint64_t value) {
                *static_cast<volatile Register*>(address) = static_cast<Register>(value);
            }};
}

constexpr std::array<Register_Access, 4> accesses{
    accessOf<std::uint64_t>(), accessOf<std::uint32_t>(), accessOf<std::uint16_t>(),
    accessOf<std::uint8_t>()};

const Register_Access* accessOfWidth(std::uint32_t width) {
    const auto* const found =
        std::find_if(accesses.begin(), accesses.end(),
                     [&](const Register_Access& entry) { return entry.width == width; });
    return found == accesses.end() ? nullptr : found;
}

/** Whether `bytes` at `offset` lie in a block of `size`. */
constexpr bool liesWithin(std::uint32_t offset, std::uint32_t bytes, std::uint32_t size) {
    return bytes <= size && offset <= size - bytes;
}

bool isMultipleOf(std::uint32_t bytes, const void* address) {
    return reinterpret_cast<std::uintptr_t>(address) % bytes == 0;
}

}  // namespace

bool HC_Devmem::Connection_t::open() {
    state = OPENING;
    mappedBase = nullptr;
    try {
        map = std::make_unique<MemoryMap>(baseAddress, size);
        mappedBase = static_cast<std::byte*>(map->getPointerToBase());
        state = CONNECTED;
    } catch (const std::exception&) {
        state = FAILED;
    }
    isOpen = true;
    return true;
}

// An access counts itself in before it looks at the flag, a close takes the flag back before it
// looks at the count, both in one total order: one of the two sees the other.
void HC_Devmem::Connection_t::close() {
    isOpen = false;
    while (users != 0) {
        std::this_thread::yield();
    }
    map.reset();
    state = CLOSED;
    mappedBase = nullptr;
}

HC_Devmem::~HC_Devmem() {
    for (Connection_t& connection : m_connections) {
        if (connection.isOpen) {
            connection.close();
        }
    }
}

void HC_Devmem::Set_Reference(const String& /*interface_name*/,
                              const std::shared_ptr<Configuration>& reference, long long /*id*/,
                              Return_Code& rc) {
    m_configuration.Set_Reference(reference, rc);
}

void HC_Devmem::Initialize(const String& file, Return_Code& rc) {
    m_configuration.Initialize(file, rc);
}

void HC_Devmem::Open_Connection(const String& name, long long /*timeout*/, long long& connection,
                                Return_Code& rc) {
    connection = -1;
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    try {
        const long long index = findOrAppend(name);
        Connection_t* const found = m_connections.find(index);
        if (found == nullptr || (!found->isOpen && !found->open())) {
            return;
        }
        connection = index;
        rc = RETURN_CODE_TYPE::NO_ERROR;
    } catch (const std::exception&) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    }
}

void HC_Devmem::Close_Connection(long long connection, Return_Code& rc) {
    if (Connection_t* const found = m_connections.findOpen(connection, rc)) {
        found->close();
    }
}

void HC_Devmem::Read(long long connection, long long /*timeout*/, Devmem::Register_Read& payload,
                     Return_Code& rc) {
    const auto load = [&](const Register_Access& access, const volatile void* address) {
        payload.value = access.load(address);
        payload.time = 0;
    };
    access(connection, payload.offset, payload.width, load, rc);
}

void HC_Devmem::Write(long long connection, long long /*timeout*/,
                      const Devmem::Register_Write& payload, Return_Code& rc) {
    const auto store = [&](const Register_Access& access, volatile void* address) {
        access.store(address, payload.value);
    };
    access(connection, payload.offset, payload.width, store, rc);
}

template <typename Perform>
void HC_Devmem::access(long long connection, std::uint32_t offset, std::uint32_t width,
                       const Perform& perform, Return_Code& rc) {
    Connection_t* const block = m_connections.find(connection);
    if (block == nullptr) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    if (!block->isOpen) {
        rc = RETURN_CODE_TYPE::CONNECTION_CLOSED;  // uncounted, so that nobody prolongs a close
        return;
    }
    ++block->users;
    rc = block->access(offset, width, perform);
    --block->users;
}

template <typename Perform>
RETURN_CODE_TYPE::Value HC_Devmem::Connection_t::access(std::uint32_t offset, std::uint32_t width,
                                                        const Perform& perform) const {
    if (!isOpen) {
        return RETURN_CODE_TYPE::CONNECTION_CLOSED;
    }
    if (state != CONNECTED) {
        return RETURN_CODE_TYPE::INVALID_MODE;
    }
    const Register_Access* const access = accessOfWidth(width);
    if (access == nullptr || !liesWithin(offset, width / 8, size) ||
        !isMultipleOf(width / 8, mappedBase + offset)) {
        return RETURN_CODE_TYPE::NO_ACTION;
    }
    __sync_synchronize();  // a full barrier that the thread sanitizer takes, unlike a fence
    perform(*access, mappedBase + offset);
    __sync_synchronize();
    return RETURN_CODE_TYPE::NO_ERROR;
}

void HC_Devmem::Configure_Connection_Parameters(long long connection, long long /*timeout*/,
                                                const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                                Return_Code& rc) {
    rc = RETURN_CODE_TYPE::INVALID_PARAM;
    Connection_t* const found = m_connections.find(connection);
    if (found == nullptr) {
        return;
    }
    if (found->isOpen) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
        return;
    }
    std::array<std::uint32_t, 2> values{found->baseAddress, found->size};  // by parameter id
    for (const IO_PARAMETER_TYPE& entry : parameters.parameters) {
        IO_PARAMETER_VALUE_TYPE::RETURN_CODE taken = IO_PARAMETER_VALUE_TYPE::OTHER_DISCRIMINATOR;
        if (entry.id < values.size()) {
            entry.value.ulong_value(values[entry.id], taken);
        }
        if (taken != IO_PARAMETER_VALUE_TYPE::NO_ERROR) {
            return;
        }
    }
    found->baseAddress = values[BASE_ADDRESS];
    found->size = values[SIZE];
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void HC_Devmem::Get_Connection_Configuration(long long connection, long long /*timeout*/,
                                             IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                             Return_Code& rc) {
    const Connection_t* const found = m_connections.find(connection);
    if (found == nullptr) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    rc = RETURN_CODE_TYPE::NO_ERROR;
    const std::array<std::uint32_t, 2> values{found->baseAddress, found->size};
    for (std::uint32_t i = 0; i < parameters.parameters.length(); ++i) {
        IO_PARAMETER_TYPE& entry = parameters.parameters[i];
        if (entry.id < values.size()) {
            entry.value.ulong_value(values[entry.id]);
        } else {
            rc = RETURN_CODE_TYPE::INVALID_PARAM;
        }
    }
}

void HC_Devmem::Configure_Bus_Parameters(long long /*connection*/, long long /*timeout*/,
                                         const IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                         Return_Code& rc) {
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void HC_Devmem::Get_Bus_Configuration(long long /*connection*/, long long /*timeout*/,
                                      IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                      Return_Code& rc) {
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void HC_Devmem::Get_Connection_Status(long long connection, CONNECTION_STATUS_TYPE& status,
                                      Return_Code& rc) {
    if (const Connection_t* const found = m_connections.findOpen(connection, rc)) {
        status = {0, true, found->state};
    }
}

void HC_Devmem::Get_Bus_Status(long long connection, std::uint16_t& status, Return_Code& rc) {
    rc = RETURN_CODE_TYPE::INVALID_PARAM;
    if (m_connections.find(connection) != nullptr) {
        status = 0;
        rc = RETURN_CODE_TYPE::NO_ERROR;
    }
}

void HC_Devmem::Register_Notification_Event(long long connection, IO_Callback& /*callback*/,
                                            Return_Code& rc) {
    if (m_connections.findOpen(connection, rc) != nullptr) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
    }
}

void HC_Devmem::Unregister_Notification_Event(long long connection, Return_Code& rc) {
    rc = m_connections.find(connection) != nullptr ? RETURN_CODE_TYPE::NO_ACTION
                                                   : RETURN_CODE_TYPE::INVALID_PARAM;
}

long long HC_Devmem::findOrAppend(const String& name) {
    if (const long long known = m_connections.idOf(name.view()); known >= 0) {
        return known;
    }
    const auto block = m_configuration.read<2>(name, {"BaseAddress", "Size"});
    if (!block) {
        return -1;
    }
    const auto [base, size] = *block;
    return m_connections.append(name.view(), base, size);
}

}  // namespace FACE::IOSS
