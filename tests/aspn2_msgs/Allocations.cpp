#include "aspn2_msgs/Allocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocationCount = 0;
thread_local std::size_t largestAllocation = 0;

}  // namespace

void* operator new(std::size_t size) {
    ++allocationCount;
    largestAllocation = std::max(largestAllocation, size);
    if (void* memory = std::malloc(std::max<std::size_t>(size, 1))) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace testing_heap {

Allocations::Allocations() {
    allocationCount = largestAllocation = 0;
}
std::size_t Allocations::count() const {
    return allocationCount;
}
std::size_t Allocations::largest() const {
    return largestAllocation;
}

}  // namespace testing_heap
