#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

/// Counts durations in classes that are an eighth of a power of two wide. Thread: any.
class LatencyHistogram
{
public:
    void add(std::chrono::nanoseconds duration)
    {
        const auto value =
            static_cast<std::uint64_t>(std::max<std::int64_t>(duration.count(), kSteps));
        int power = 0;
        while (value >> power >= 2 * kSteps) {
            ++power;
        }
        const auto index = static_cast<std::size_t>(power) * kSteps + (value >> power) - kSteps;
        m_counts[std::min(index, m_counts.size() - 1)].fetch_add(1, std::memory_order_relaxed);
    }

    /// The upper bound of the class that holds this share of all durations, in microseconds.
    double quantile(double share) const
    {
        std::uint64_t total = 0;
        for (const auto &count : m_counts) {
            total += count;
        }
        std::uint64_t passed = 0;
        std::size_t index = 0;
        while (index + 1 < m_counts.size() && static_cast<double>(passed += m_counts[index]) <
                                                  share * static_cast<double>(total)) {
            ++index;
        }
        const double upper = static_cast<double>(kSteps + index % kSteps + 1);
        return upper * static_cast<double>(std::uint64_t{1} << (index / kSteps)) / 1000.0;
    }

private:
    static constexpr std::uint64_t kSteps = 8;
    std::array<std::atomic<std::uint32_t>, 48 * kSteps> m_counts{};
};
