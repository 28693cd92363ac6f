#include <cstdlib>
#include <new>

#include "face/FaceFixture.h"

thread_local bool face_test::NoMemory::s_active = false;

void* operator new(std::size_t size) {
    void* memory = face_test::NoMemory::isActive() ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
