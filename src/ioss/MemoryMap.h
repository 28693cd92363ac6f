/** Physical memory, mapped into this process from /dev/mem. */
#pragma once

#include <cstddef>
#include <cstdint>

/** The mapping of one block, from the page its base lies in to the page behind its end. Not
 *  locked; whoever uses the pointer sees to it that the map outlives the use.
 */
class MemoryMap {
public:
    /** Maps `size` bytes from the physical address `base`. The first map of the process opens
     *  /dev/mem, which then stays open. std::runtime_error: "Unable to open /dev/mem file
     *  descriptor." or "Unable to map memory space.".
     */
    MemoryMap(std::uint32_t base, std::uint32_t size);

    /** A failure to unmap is said on standard error and has no other effect. */
    ~MemoryMap();
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /** Where `base` lies in this process. */
    void* getPointerToBase() const { return m_base; }

    /** What is mapped in all [bytes], whole pages. */
    std::size_t getLength() const { return m_length; }

private:
    void* m_address = nullptr;
    void* m_base = nullptr;
    std::uint64_t m_pageOffset = 0;  ///< [bytes] of the base within its page
    std::uint64_t m_pages = 0;
    std::size_t m_length = 0;  ///< [bytes]
};
