// Stands apart, as a compiler that sees into these functions takes malloc and free for a mismatch.
#include "support/Allocations.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> total{0};
thread_local std::size_t taken = 0;
thread_local std::size_t most = 0;
thread_local bool exhausted = false;

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++total;
    ++taken;
    most = std::max(most, size);
    return exhausted ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
}
void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

Allocations::Allocations() {
    taken = most = 0;
}
std::size_t Allocations::count() const {
    return taken;
}
std::size_t Allocations::largest() const {
    return most;
}
std::size_t Allocations::ofTheProcess() {
    return total;
}

NoMemory::NoMemory() {
    exhausted = true;
}
NoMemory::~NoMemory() {
    exhausted = false;
}
