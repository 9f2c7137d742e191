#include "AllocationCounter.h"

#include <pugixml.hpp>

#include <cstdlib>
#include <new>

namespace bench {

std::size_t allocationCount = 0;

namespace {

void* allocate(std::size_t size) {
    ++allocationCount;
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

void countPugixmlAllocations() { pugi::set_memory_management_functions(allocate, std::free); }

} // namespace bench

// The replaced global allocation functions. Counting is one increment, so the timing runs
// keep them too; only the counting run reads the count.
void* operator new(std::size_t size) {
    if (void* block = bench::allocate(size)) return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) { return ::operator new(size); }

void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
