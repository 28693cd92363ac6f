/** What is taken from the heap by way of the program's own operator new, which its shared libraries
 *  use too. */
#pragma once

#include <cstddef>

/** Counts what this thread takes, from its making on; one at a time. */
class Allocations {
public:
    Allocations();
    std::size_t count() const;
    /** The largest single one [bytes]. */
    std::size_t largest() const;
    /** All that any thread ever took. */
    static std::size_t ofTheProcess();
};

/** While one lives, this thread's operator new throws. */
class NoMemory {
public:
    NoMemory();
    ~NoMemory();
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;
};
