#pragma once

#include <cstdint>

namespace zefstandin {

/// A small random number generator, the same on every machine.
class SplitMix64
{
public:
    explicit SplitMix64(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next()
    {
        std::uint64_t z = (m_state += 0x9e3779b97f4a7c15U);
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

    int below(int limit) { return static_cast<int>(next() % static_cast<unsigned>(limit)); }
    bool oneIn(int chance) { return below(chance) == 0; }

private:
    std::uint64_t m_state;
};

} // namespace zefstandin
