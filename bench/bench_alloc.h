// Heap allocation counting for the benchmarks: replaces the global operator new and delete,
// so include it from the one source of a program. The shared library's allocations go
// through these too, as it takes operator new from the program.
#pragma once
#include <atomic>
#include <cstdlib>
#include <new>

namespace kvbench {

// Allocations of every thread, and of the calling thread alone.
inline std::atomic<long> gAllocations{0};
inline thread_local long tAllocations = 0;

__attribute__((noinline)) inline void* Take(std::size_t n)
{
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    ++tAllocations;
    if (void* p = std::malloc(n ? n : 1))
        return p;
    throw std::bad_alloc();
}
__attribute__((noinline)) inline void GiveBack(void* p) { std::free(p); }

}  // namespace kvbench

void* operator new(std::size_t n) { return kvbench::Take(n); }
void* operator new[](std::size_t n) { return kvbench::Take(n); }
void operator delete(void* p) noexcept { kvbench::GiveBack(p); }
void operator delete(void* p, std::size_t) noexcept { kvbench::GiveBack(p); }
void operator delete[](void* p) noexcept { kvbench::GiveBack(p); }
void operator delete[](void* p, std::size_t) noexcept { kvbench::GiveBack(p); }
