#include "storm/modes.h"
#include "storm/neighbours.h"
#include "storm/verdict.h"

#include <cstdio>

using zefstandin::Thread;

namespace {

const char *const kHeldPath = "account.quickLogin";

/// The library owes answers of every kind when it is stopped: queued ones, late ones, and held ones
/// that come while or after it stops.
const char *const kOwing = R"({"initFinishedAfterMs":0,"script":{
    "grantAuthorizeCodeOffice":{"hold":true,"releaseAfterMs":12},
    "notifyOfficeMsg/getMeetingStatus":{"delayMs":3},
    "logout":{"delayMs":2}}})";

/// What the host still holds while late answers arrive.
struct Life
{
    explicit Life(const Options &options) : host(storm, options)
    {
        storm.climate.keepsOrder = false;
        addTasks(storm);
    }

    Storm storm;
    std::unique_ptr<WatchedCallback> listener = std::make_unique<EventCounter>(storm.climate);
    Host host;
};

void stormAndStop(Life &life, const Options &options, Random &random)
{
    start(life.storm, kOwing);
    life.storm.framework.addListener("account.cookieUpdated", life.listener.get());
    Options part = options;
    part.operations = 0;
    part.seconds = 0.005 * (1 + random.below(8));
    Budget budget(part);
    life.host.run(budget);
    stop(life.storm);
    life.host.expectReplies(kHeldPath);
}

} // namespace

void runShutdown(const Options &options)
{
    Random random(options.seed);
    Budget budget(options);
    Storm outside; // for the threads of the library, which outlive each run
    Neighbours neighbours(outside, options.seed, nullptr);
    long late = 0;
    long asynCalls = 0;
    while (budget.take()) {
        Options part = options;
        part.seed = random.next();
        auto life = std::make_unique<Life>(part);
        stormAndStop(*life, part, random);
        asynCalls += life->storm.asynCalls;
        if (random.oneIn(2)) {
            life.reset(); // AddressSanitizer sees a late delivery
            late += outside.account.releaseAll(Thread::library);
        } else {
            late += outside.account.releaseAll(Thread::library);
            outside.account.waitUntilIdle(100); // the callbacks themselves see it
        }
    }
    neighbours.stop();
    withoutHanging("the library's rest", [&] { outside.account.waitUntilIdle(50000); });
    std::printf("shutdown: %ld stops under fire in %.1f s, %ld asynCalls, %ld events, %ld messages "
                "taken, %ld answers released after the stop, %ld broken\n",
                budget.taken(), budget.seconds(), asynCalls, neighbours.events(),
                neighbours.messages(), late, brokenCount());
}
