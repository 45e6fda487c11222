#pragma once

#include <cstdint>

/// What the command line asks for.
struct Options
{
    int threads = 8;

    /// How many operations, removals, restarts or shutdowns, depending on the mode; 0: no limit.
    long operations = 0;

    /// After which no further operation starts; 0: no limit.
    double seconds = 0;

    std::uint64_t seed = 1;
};
