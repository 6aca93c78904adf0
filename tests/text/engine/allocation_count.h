// Counts what a piece of code allocates.
#pragma once

#include <cstddef>

namespace qel::test {

/// Returns false under the thread sanitizer, where nothing is counted.
bool countsAllocations();

/// Returns the number of calls of operator new in this program, the library included.
std::size_t allocationCount();

/// Returns the number of allocations of operator new that have not been freed.
std::size_t liveAllocationCount();

} // namespace qel::test
