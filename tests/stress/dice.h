#pragma once

#include "account/splitmix64.h"

#include <cstddef>
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

class Random final : public Dice
{
public:
    explicit Random(std::uint64_t seed) : m_numbers(seed) {}

    std::uint64_t next() override { return m_numbers.next(); }

private:
    zefstandin::SplitMix64 m_numbers;
};
