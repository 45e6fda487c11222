#pragma once

#include <cstddef>

/// \file
/// Counts the heap allocations of the process. The library is loaded with LD_PRELOAD; a program
/// finds the function with dlsym.

struct AllocationCounts
{
    long allocations; ///< since the process began; growing a block counts as one
    long liveBytes;   ///< usable bytes of the blocks that live
    long peakBytes;   ///< highest liveBytes since the peak was reset
};

/// \param resetPeak starts the peak from what lives now.
extern "C" __attribute__((visibility("default"))) AllocationCounts
zefAllocationCounts(bool resetPeak);
