/** Named views of device memory. */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "ioss/Connection_Table.h"
#include "ioss/Device_Configuration.h"
#include "ioss/Devmem_IO_Service.h"
#include "ioss/MemoryMap.h"

namespace FACE::IOSS {

/** A connection is one block of registers: its name finds a container of the configuration with
 *  "BaseAddress" and "Size", and the block is mapped from /dev/mem. Order of use: Set_Reference,
 *  Initialize, Open_Connection for each block.
 *
 *  Threads: connections are opened and configured on one thread, before others use them. Read and
 *  Write may then be called from any thread, also while a connection closes: the close waits for
 *  the accesses that have begun. They lock nothing, allocate nothing and make no system call.
 *
 *  Codes of all operations that take a connection: INVALID_PARAM for an id that was never given.
 */
class HC_Devmem : public Devmem::IO_Service, public Configuration_Injectable::Injectable {
public:
    HC_Devmem() = default;
    /** Closes what is open. No access is under way any more. */
    ~HC_Devmem() override;
    HC_Devmem(const HC_Devmem&) = delete;
    HC_Devmem& operator=(const HC_Devmem&) = delete;

    /** NOT_AVAILABLE: set already; INVALID_PARAM: null. Name and id are not looked at. */
    void Set_Reference(const String& interface_name,
                       const std::shared_ptr<Configuration>& reference, long long id,
                       Return_Code& rc) override;

    /** NO_ACTION: initialized already; INVALID_CONFIG: the file can't be taken. */
    void Initialize(const String& file, Return_Code& rc) override;

    /** `connection` is -1 unless it works. INVALID_CONFIG: no such container, or one of its
     *  parameters is missing. A block that can't be mapped opens all the same, in state FAILED, and
     *  answers INVALID_MODE to every access.
     */
    void Open_Connection(const String& name, long long timeout, long long& connection,
                         Return_Code& rc) override;

    /** CONNECTION_CLOSED: not open. The id stays and is given again for the name. */
    void Close_Connection(long long connection, Return_Code& rc) override;

    /** One volatile access of the width asked for, between memory barriers. CONNECTION_CLOSED: not
     *  open; INVALID_MODE: not mapped; NO_ACTION, nothing accessed: a width other than 8, 16, 32 or
     *  64, an end behind the block's, or an address that is no multiple of the width, where device
     *  memory has no single access and the processor may fault.
     */
    void Read(long long connection, long long timeout, Devmem::Register_Read& payload,
              Return_Code& rc) override;
    void Write(long long connection, long long timeout, const Devmem::Register_Write& payload,
               Return_Code& rc) override;

    /** Parameter 0 is the base address, 1 the size, both `ulong`. NO_ACTION: open, and what is
     *  mapped can't be changed; INVALID_PARAM: another parameter or type, nothing changed.
     */
    void Configure_Connection_Parameters(long long connection, long long timeout,
                                         const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                         Return_Code& rc) override;

    /** Fills in parameters 0 and 1; INVALID_PARAM: another was among them. */
    void Get_Connection_Configuration(long long connection, long long timeout,
                                      IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                      Return_Code& rc) override;

    /** There is no bus: NO_ACTION. */
    void Configure_Bus_Parameters(long long connection, long long timeout,
                                  const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                  Return_Code& rc) override;
    void Get_Bus_Configuration(long long connection, long long timeout,
                               IO_PARAMETER_TRANSACTION_TYPE& parameters, Return_Code& rc) override;

    /** CONNECTION_CLOSED: not open. */
    void Get_Connection_Status(long long connection, CONNECTION_STATUS_TYPE& status,
                               Return_Code& rc) override;

    /** `status` 0, whatever the connection's state. */
    void Get_Bus_Status(long long connection, std::uint16_t& status, Return_Code& rc) override;

    /** Registers notify nobody: NO_ACTION. Registering gives CONNECTION_CLOSED unless open. */
    void Register_Notification_Event(long long connection, IO_Callback& callback,
                                     Return_Code& rc) override;
    void Unregister_Notification_Event(long long connection, Return_Code& rc) override;

private:
    enum State : std::uint32_t { CLOSED = 0, OPENING = 1, CONNECTED = 2, FAILED = 4 };

    struct Connection_t {
        Connection_t(std::string_view theName, std::uint32_t base, std::uint32_t length)
            : name(theName), baseAddress(base), size(length) {}

        bool open();
        void close();
        template <typename Perform>
        Return_Code access(std::uint32_t offset, std::uint32_t width, const Perform& perform) const;

        const std::string name;
        std::uint32_t state = CLOSED;
        std::uint32_t baseAddress;  ///< physical
        std::uint32_t size;         ///< [bytes]
        std::byte* mappedBase = nullptr;
        std::unique_ptr<MemoryMap> map;
        std::atomic<bool> isOpen{false};      ///< set last; while set, what stands above holds
        std::atomic<std::uint32_t> users{0};  ///< accesses under way, which hold off a close
    };

    long long findOrAppend(const String& name);
    template <typename Perform>
    void access(long long connection, std::uint32_t offset, std::uint32_t width,
                const Perform& perform, Return_Code& rc);

    Device_Configuration m_configuration;
    Connection_Table<Connection_t> m_connections;
};

}  // namespace FACE::IOSS
