#include "victory/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool counting = false;
thread_local std::size_t allocations = 0;

void* allocate(std::size_t size) {
    allocations += counting ? 1 : 0;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

}  // namespace

// The program's own operators, which its shared libraries use too.
void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace victory_test {

AllocationCount::AllocationCount() {
    allocations = 0;
    counting = true;
}
AllocationCount::~AllocationCount() {
    counting = false;
}

std::size_t AllocationCount::value() const {
    return allocations;
}

}  // namespace victory_test
