/** Register access in blocks of device memory, as an interface. */
#pragma once

#include <cstdint>

#include "ioss/IO_Service.h"

namespace FACE::IOSS::Devmem {

using IOSS::CONNECTION_STATUS_TYPE;
using IOSS::IO_PARAMETER_TRANSACTION_TYPE;

/** One register to read: filled with offset and width by the caller, with the rest by `Read`. */
struct Register_Read {
    std::int64_t time = 0;     ///< cleared by each successful read
    std::uint32_t offset = 0;  ///< [bytes] from the block's base
    std::uint32_t width = 0;   ///< [bits] 8, 16, 32 or 64
    std::uint64_t value = 0;   ///< what was read, zero-extended
};

struct Register_Write {
    std::uint32_t offset = 0;  ///< [bytes] from the block's base
    std::uint32_t width = 0;   ///< [bits] 8, 16, 32 or 64
    std::uint64_t value = 0;   ///< of which the low `width` bits are written
};

class IO_Service : public Basic_IO_Service<Register_Read, Register_Write> {};

}  // namespace FACE::IOSS::Devmem
