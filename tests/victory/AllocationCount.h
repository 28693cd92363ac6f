/** Counts what a thread allocates, in the library under test as well. */
#pragma once

#include <cstddef>

namespace victory_test {

/** Counts this thread's uses of operator new while it lives. */
class AllocationCount {
public:
    AllocationCount();
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    std::size_t value() const;
};

}  // namespace victory_test
