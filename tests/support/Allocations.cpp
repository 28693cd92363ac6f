// Stands apart, as a compiler that sees into these functions takes malloc and free for a mismatch.
#include "support/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count{0};
thread_local long countOfThread = 0;

}  // namespace

long allocations() {
    return count;
}
long allocationsOfThread() {
    return countOfThread;
}

void* operator new(std::size_t size) {
    ++count;
    ++countOfThread;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
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
