#pragma once

#include <cstddef>

namespace bench {

// Every operator new of the program, and every allocation pugixml makes, counts here.
extern std::size_t allocationCount;

// Routes pugixml's allocations through the count as well.
void countPugixmlAllocations();

} // namespace bench
