#include "alloccount.h"

#include <atomic>
#include <cerrno>

#include <malloc.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);
}

namespace {

std::atomic<long> s_allocations{0};
std::atomic<long> s_live{0};
std::atomic<long> s_peak{0};

void *counted(void *block)
{
    if (block) {
        ++s_allocations;
        const long live = s_live += long(malloc_usable_size(block));
        if (live > s_peak) {
            s_peak = live; // exact as long as one thread allocates, which is what is measured
        }
    }
    return block;
}

void forget(void *block)
{
    if (block) {
        s_live -= long(malloc_usable_size(block));
    }
}

} // namespace

extern "C" {

#pragma GCC visibility push(default)

void *malloc(std::size_t size) noexcept
{
    return counted(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size) noexcept
{
    return counted(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size) noexcept
{
    const long before = block ? long(malloc_usable_size(block)) : 0;
    void *moved = __libc_realloc(block, size);
    if (moved || size == 0) {
        s_live -= before;
    }
    return counted(moved);
}

void *memalign(std::size_t alignment, std::size_t size) noexcept
{
    return counted(__libc_memalign(alignment, size));
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return counted(__libc_memalign(alignment, size));
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept
{
    *block = counted(__libc_memalign(alignment, size));
    return *block ? 0 : ENOMEM;
}

void free(void *block) noexcept
{
    forget(block);
    __libc_free(block);
}

AllocationCounts zefAllocationCounts(bool resetPeak)
{
    if (resetPeak) {
        s_peak = s_live.load();
    }
    return {s_allocations, s_live, s_peak};
}

#pragma GCC visibility pop

} // extern "C"
