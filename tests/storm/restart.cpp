#include "storm/modes.h"
#include "storm/process.h"
#include "storm/verdict.h"

#include <cstdio>

namespace {

constexpr long kWarm = 10;
constexpr long kWarmMemory = 100;
constexpr long kGrowthKib = 1024;
constexpr long kCallsPerRun = 100;

void liveOnce(const Options &options, std::uint64_t seed)
{
    Storm storm;
    storm.climate.keepsOrder = false; // cancelled answers overtake others
    addTasks(storm);
    start(storm);
    Options part = options;
    part.operations = kCallsPerRun;
    part.seconds = 0;
    part.seed = seed;
    Host host(storm, part);
    Budget budget(part);
    host.run(budget);
    stop(storm);
    host.expectReplies(nullptr);
}

} // namespace

void runRestart(const Options &options)
{
    Budget budget(options);
    ProcessFigures warm;
    ProcessFigures end;
    Random random(options.seed);
    while (budget.take()) {
        liveOnce(options, random.next());
        if (budget.taken() <= kWarm) {
            warm = ProcessFigures::now();
        }
        if (budget.taken() == kWarmMemory) {
            warm.residentKib = ProcessFigures::now().residentKib;
        }
    }

    // The last thread may still be on its way out of the kernel.
    waitFor([&] { return (end = ProcessFigures::now()).threads <= warm.threads; });
    if (budget.taken() > kWarm) {
        expect(end.threads <= warm.threads, "threads are left");
        expect(end.descriptors <= warm.descriptors, "descriptors are left");
    }
    if (budget.taken() > kWarmMemory && isMemoryMeasurable()) {
        expect(end.residentKib - warm.residentKib <= kGrowthKib, "memory grows");
    }
    std::printf("restart: %ld starts and stops with %ld operations each in %.1f s, threads %d to "
                "%d, descriptors %d to %d, memory %ld to %ld KiB, %ld broken\n",
                budget.taken(), kCallsPerRun, budget.seconds(), warm.threads, end.threads,
                warm.descriptors, end.descriptors, warm.residentKib, end.residentKib,
                brokenCount());
}
