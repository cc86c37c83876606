// Heap allocations made by each thread, counted in tAllocations by replacing the global
// operator new and delete. Include this in exactly one source of a test program. The
// replacements take and give back through one pair of functions the compiler does not
// see into.
#pragma once
#include <cstdlib>
#include <new>

thread_local long tAllocations = 0;

namespace kvtest {
__attribute__((noinline)) inline void* Take(std::size_t n) {
    ++tAllocations;
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
__attribute__((noinline)) inline void GiveBack(void* p) { std::free(p); }
}  // namespace kvtest

void* operator new(std::size_t n) { return kvtest::Take(n); }
void* operator new[](std::size_t n) { return kvtest::Take(n); }
void operator delete(void* p) noexcept { kvtest::GiveBack(p); }
void operator delete(void* p, std::size_t) noexcept { kvtest::GiveBack(p); }
void operator delete[](void* p) noexcept { kvtest::GiveBack(p); }
void operator delete[](void* p, std::size_t) noexcept { kvtest::GiveBack(p); }
