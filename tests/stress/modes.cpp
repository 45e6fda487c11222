#include "stress/modes.h"

#include "stress/client.h"
#include "stress/process.h"
#include "stress/traffic.h"
#include "stress/verdict.h"

#include <cstdio>

using zefstandin::Thread;

namespace {

struct MixedResult
{
    long operations = 0;
    double seconds = 0;
    long asynCalls = 0;
    long subscriptions = 0;
    long events = 0;
    long messages = 0;
    long p99 = 0;
};

MixedResult runMixedOnce(const Options &options)
{
    Run run;
    run.start(R"({"initFinishedAfterMs":-1})");
    Counter counter(run);
    expect(run.framework.addListener("account.initFinished", &counter) != 0, "no subscription");

    MixedResult result;
    Clients clients(run, options);
    Counter &tasks = clients.tasks.at("meetingDataChangeTask");
    expect(run.framework.registerCallbackFunc("meetingDataChangeTask", &tasks), "no registration");
    // What the registration asked for comes first, or is counted as a message.
    expect(run.account.waitUntilIdle(10000), "the account library does not come to rest");
    const long asked = tasks.deliveries();

    TrafficThreads threads(run, options.seed, &counter);
    const Traffic &traffic = threads.traffic();
    Budget budget(options);
    clients.run(budget);
    result.operations = budget.taken();
    result.seconds = budget.seconds();
    threads.stop();
    clients.awaitReplies();
    expect(waitFor([&] { return counter.deliveries() >= traffic.counted(); }), "events are lost");
    run.stop();

    expect(counter.deliveries() == traffic.counted(), "events are doubled");
    expect(tasks.deliveries() - asked == traffic.messages(), "task messages are lost or doubled");
    const Counter &collected = clients.tasks.at("accountInfoCollectTask");
    expect(collected.deliveries() == traffic.collected(), "collected objects are lost or doubled");
    result.events = traffic.events();
    result.messages = traffic.messages();
    result.asynCalls = run.asynCalls;
    result.subscriptions = run.subscriptions;
    result.p99 = run.latency.quantile(0.99);
    return result;
}

/// A run of some operations, stopped with whatever is still owed.
template <typename Life>
long runPart(const Options &options, long operations, double seconds, std::uint64_t seed, Life life)
{
    Options part = options;
    part.operations = operations;
    part.seconds = seconds;
    part.seed = seed;
    auto run = std::make_unique<Run>();
    auto clients = std::make_unique<Clients>(*run, part);
    Budget budget(part);
    life(run, clients, budget);
    return budget.taken();
}

using RunPointer = std::unique_ptr<Run>;
using ClientsPointer = std::unique_ptr<Clients>;

} // namespace

void runMixed(const Options &options)
{
    const MixedResult result = runMixedOnce(options);
    std::printf("mixed: %ld operations on %d threads in %.1f s, %ld asynCalls answered once each, "
                "%ld subscriptions, %ld events, %ld messages, p99 of asynCall %ld us, %ld broken\n",
                result.operations, options.threads, result.seconds, result.asynCalls,
                result.subscriptions, result.events, result.messages, result.p99, brokenCount());
}

void runSoak(const Options &options)
{
    // The first tenth warms up.
    constexpr int kRounds = 10;
    constexpr double kHeapKibPerMinute = 10;
    constexpr long kHeapKib = 128;
    constexpr long kResidentKib = 8192; // the allocator's pools of eleven threads fill up slowly

    Options part = options;
    part.operations = 0;
    part.seconds = (options.seconds > 0 ? options.seconds : 600) / kRounds;
    long operations = 0;
    long p99 = 0;
    ProcessFigures first;
    ProcessFigures last;
    for (int round = 0; round < kRounds; ++round) {
        const MixedResult result = runMixedOnce(part);
        operations += result.operations;
        p99 = std::max(p99, result.p99);
        last = ProcessFigures::now();
        first = round ? first : last;
    }
    const double minutes = part.seconds * (kRounds - 1) / 60;
    if (isMemoryMeasurable()) {
        const long allowed = kHeapKib + static_cast<long>(kHeapKibPerMinute * minutes);
        expect(last.heapKib - first.heapKib <= allowed, "the heap grows");
        expect(last.residentKib - first.residentKib <= kResidentKib, "memory grows");
    }
    std::printf("soak: %ld operations on %d threads in %.0f s with %d restarts, heap %ld to %ld "
                "KiB, resident %ld to %ld KiB, p99 of asynCall at most %ld us, %ld broken\n",
                operations, options.threads, part.seconds * kRounds, kRounds, first.heapKib,
                last.heapKib, first.residentKib, last.residentKib, p99, brokenCount());
}

void runRestart(const Options &options)
{
    constexpr long kWarm = 10;
    constexpr long kWarmMemory = 100;
    constexpr long kGrowthKib = 1024;
    constexpr long kCallsPerRun = 100;

    Budget budget(options);
    ProcessFigures warm;
    ProcessFigures end;
    Random random(options.seed);
    while (budget.take()) {
        runPart(options, kCallsPerRun, 0, random.next(),
                [](RunPointer &run, ClientsPointer &clients, Budget &part) {
                    run->keepsOrder = false; // cancelled answers overtake others
                    run->start();
                    clients->run(part);
                    run->stop();
                    clients->expectReplies("");
                });
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

void runShutdown(const Options &options)
{
    // The library owes answers of every kind when it is stopped: queued ones, late ones, and
    // deferred ones that come while or after it stops.
    const char *const kOwing = R"({"initFinishedAfterMs":0,"script":{
        "grantAuthorizeCodeOffice":{"hold":true,"releaseAfterMs":12},
        "notifyOfficeMsg/getMeetingStatus":{"delayMs":3},
        "logout":{"delayMs":2}}})";

    Random random(options.seed);
    Budget budget(options);
    Run outside; // for the threads of the library, which outlive each run
    TrafficThreads threads(outside, options.seed, nullptr);
    long late = 0;
    long asynCalls = 0;
    while (budget.take()) {
        const double seconds = 0.005 * (1 + random.below(8));
        runPart(options, 0, seconds, random.next(),
                [&](RunPointer &run, ClientsPointer &clients, Budget &part) {
                    run->keepsOrder = false;
                    auto listener = std::make_unique<Counter>(*run);
                    run->start(kOwing);
                    run->framework.addListener("account.cookieUpdated", listener.get());
                    clients->run(part);
                    run->stop();
                    clients->expectReplies("account.quickLogin");
                    asynCalls += run->asynCalls;
                    if (random.oneIn(2)) { // AddressSanitizer sees a late delivery
                        listener.reset();
                        clients.reset();
                        run.reset();
                    }
                    late += outside.account.releaseAll(Thread::library);
                    outside.account.waitUntilIdle(100); // else the callbacks themselves see it
                });
    }
    threads.stop();
    withoutHanging("the library's rest", [&] { outside.account.waitUntilIdle(50000); });
    std::printf("shutdown: %ld stops under load in %.1f s, %ld asynCalls, %ld events, %ld messages "
                "taken, %ld answers released after the stop, %ld broken\n",
                budget.taken(), budget.seconds(), asynCalls, threads.traffic().events(),
                threads.traffic().messages(), late, brokenCount());
}

void runHostile(const Options &options)
{
    // The hostile library waits now and then: a restart every so many operations.
    constexpr long kOperationsPerRun = 2000;

    Random random(options.seed);
    Budget budget(options);
    long operations = 0;
    long runs = 0;
    while ((options.operations == 0 || operations < options.operations) && budget.take()) {
        operations += runPart(options, kOperationsPerRun, options.seconds / 4, random.next(),
                              [&](RunPointer &run, ClientsPointer &clients, Budget &part) {
                                  run->isHonest = false;
                                  run->start();
                                  run->account.setHostile(static_cast<unsigned>(random.next() | 1));
                                  TrafficThreads threads(*run, random.next(), nullptr);
                                  clients->run(part);
                                  run->stop();
                                  run->account.setHostile(0);
                              });
        ++runs;
    }
    std::printf("hostile: seed %llu, %ld operations on %d threads in %.1f s, %ld restarts, "
                "%ld broken\n",
                static_cast<unsigned long long>(options.seed), operations, options.threads,
                budget.seconds(), runs, brokenCount());
}
