/** Counts what this thread takes from the heap, by way of the program's own operator new. */
#pragma once

#include <cstddef>

namespace testing_heap {

/** Counts from its making on. */
class Allocations {
public:
    Allocations();
    std::size_t count() const;
    /** The largest single one [bytes]. */
    std::size_t largest() const;
};

}  // namespace testing_heap
