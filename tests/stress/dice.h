#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

/// Where a driver takes its choices from: a random number generator or the input of a fuzzer.
class Dice
{
public:
    virtual ~Dice() = default;

    virtual std::uint64_t next() = 0;

    /// \param limit at most 256.
    virtual int below(int limit) { return static_cast<int>(next() % static_cast<unsigned>(limit)); }

    /// Now and then a text that no table has; empty most of the time.
    virtual std::string foreignText() { return {}; }

    bool oneIn(int chance) { return below(chance) == 0; }

    template <typename Table>
    auto pick(Table &table) -> decltype(*std::begin(table))
    {
        return *std::next(std::begin(table), below(static_cast<int>(std::size(table))));
    }
};

/// SplitMix64: small, and the same on every machine.
class Random final : public Dice
{
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() override
    {
        std::uint64_t z = (m_state += 0x9e3779b97f4a7c15U);
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

private:
    std::uint64_t m_state;
};
