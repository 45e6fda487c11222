#include "storm/modes.h"
#include "storm/neighbours.h"
#include "storm/process.h"
#include "storm/verdict.h"

#include <algorithm>
#include <cstdio>

namespace {

struct MixedResult
{
    long operations = 0;
    double seconds = 0;
    long asynCalls = 0;
    long subscriptions = 0;
    long events = 0;
    long messages = 0;
    double p99 = 0;
};

/// One life of the framework.
MixedResult stormOnce(const Options &options)
{
    Storm storm;
    start(storm, R"({"initFinishedAfterMs":0})");
    addTasks(storm);
    EventCounter counter(storm.climate);
    expect(storm.framework.addListener("account.initFinished", &counter) != 0, "no subscription");
    expect(storm.framework.registerCallbackFunc("meetingDataChangeTask", storm.tasks.front().get()),
           "no registration");
    // The library raises it once by itself, perhaps before the subscription.
    expect(storm.account.waitUntilIdle(10000), "the account library does not come to rest");
    const long before = counter.deliveries();

    MixedResult result;
    {
        Host host(storm, options);
        Neighbours neighbours(storm, options.seed, &counter);
        Budget budget(options);
        host.run(budget);
        result.operations = budget.taken();
        result.seconds = budget.seconds();
        neighbours.stop();
        host.awaitReplies();
        expect(waitFor([&] { return counter.deliveries() - before >= neighbours.raised(); }),
               "events are lost");
        stop(storm);

        expect(counter.deliveries() - before <= neighbours.raised() + 1, "events are doubled");
        expect(storm.tasks.front()->deliveries() == neighbours.messages(),
               "task messages are lost or doubled");
        expect(storm.tasks.back()->deliveries() == neighbours.collected(),
               "collected objects are lost or doubled");
        result.events = neighbours.events();
        result.messages = neighbours.messages();
    }
    result.asynCalls = storm.asynCalls;
    result.subscriptions = storm.subscriptions;
    result.p99 = storm.climate.latency.quantile(0.99);
    return result;
}

} // namespace

void runMixed(const Options &options)
{
    const MixedResult result = stormOnce(options);
    std::printf(
        "mixed: %ld operations on %d threads in %.1f s, %ld asynCalls answered once each, "
        "%ld subscriptions, %ld events, %ld messages, p99 of asynCall %.0f us, %ld broken\n",
        result.operations, options.threads, result.seconds, result.asynCalls, result.subscriptions,
        result.events, result.messages, result.p99, brokenCount());
}

void runSoak(const Options &options)
{
    // The first tenth warms up.
    constexpr int kRounds = 10;
    constexpr double kHeapKibPerMinute = 10;
    constexpr long kHeapKib = 128;
    constexpr long kResidentKib = 8192; // the allocator's pools of eleven threads fill up slowly

    Options part = options;
    part.seconds = options.seconds / kRounds;
    long operations = 0;
    ProcessFigures first;
    ProcessFigures last;
    double lowest = 0;
    double highest = 0;
    for (int round = 0; round < kRounds; ++round) {
        const MixedResult result = stormOnce(part);
        operations += result.operations;
        last = ProcessFigures::now();
        first = round ? first : last;
        lowest = round ? std::min(lowest, result.p99) : result.p99;
        highest = std::max(highest, result.p99);
    }
    const double minutes = options.seconds / 60 * (kRounds - 1) / kRounds;
    if (isMemoryMeasurable()) {
        const long allowed = kHeapKib + static_cast<long>(kHeapKibPerMinute * minutes);
        expect(last.heapKib - first.heapKib <= allowed, "the heap grows");
        expect(last.residentKib - first.residentKib <= kResidentKib, "memory grows");
    }
    std::printf("soak: %ld operations on %d threads in %.0f s with %d restarts, heap %ld to %ld "
                "KiB, resident %ld to %ld KiB, p99 of asynCall %.0f to %.0f us, %ld broken\n",
                operations, options.threads, options.seconds, kRounds, first.heapKib, last.heapKib,
                first.residentKib, last.residentKib, lowest, highest, brokenCount());
}
