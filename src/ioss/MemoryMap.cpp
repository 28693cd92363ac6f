#include "ioss/MemoryMap.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "utilities/Console.h"
#include "utilities/DeviceRoot.h"

namespace {

/** /dev/mem, opened at first use and closed with the process. A failed opening is tried again. */
class MemoryDeviceFileDescriptor {
public:
    static const MemoryDeviceFileDescriptor& Instance() {
        static const MemoryDeviceFileDescriptor instance;
        return instance;
    }
    ~MemoryDeviceFileDescriptor() { ::close(m_descriptor); }
    MemoryDeviceFileDescriptor(const MemoryDeviceFileDescriptor&) = delete;
    MemoryDeviceFileDescriptor& operator=(const MemoryDeviceFileDescriptor&) = delete;

    std::uint64_t pageSize() const { return m_pageSize; }
    int descriptor() const { return m_descriptor; }

private:
    MemoryDeviceFileDescriptor()
        : m_pageSize(static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE))),
          m_descriptor(
              ::open(utilities::resolvePath("/dev/mem").c_str(), O_RDWR | O_SYNC | O_CLOEXEC)) {
        if (m_descriptor < 0) {
            throw std::runtime_error("Unable to open /dev/mem file descriptor.");
        }
    }

    std::uint64_t m_pageSize;  ///< [bytes]
    int m_descriptor;
};

}  // namespace

static_assert(sizeof(std::size_t) == sizeof(std::uint64_t) &&
                  sizeof(off_t) == sizeof(std::uint64_t),
              "base and size are 32 bits each; their sum and the whole pages around it need more");

MemoryMap::MemoryMap(std::uint32_t base, std::uint32_t size) {
    const MemoryDeviceFileDescriptor& device = MemoryDeviceFileDescriptor::Instance();
    const std::uint64_t pageSize = device.pageSize();
    m_pageOffset = base % pageSize;
    m_pages = (m_pageOffset + size) / pageSize + 1;
    m_length = m_pages * pageSize;
    m_address = ::mmap(nullptr, m_length, PROT_READ | PROT_WRITE, MAP_SHARED, device.descriptor(),
                       static_cast<off_t>(base - m_pageOffset));
    if (m_address == MAP_FAILED) {
        throw std::runtime_error("Unable to map memory space.");
    }
    m_base = static_cast<std::byte*>(m_address) + m_pageOffset;
}

MemoryMap::~MemoryMap() {
    if (::munmap(m_address, m_length) != 0) {
        utilities::printErrorLine("Unable to mumap memory space: ", std::strerror(errno));
    }
}
