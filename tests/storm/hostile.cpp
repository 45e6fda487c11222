#include "storm/modes.h"
#include "storm/neighbours.h"
#include "storm/verdict.h"

#include <cstdio>

void runHostile(const Options &options)
{
    // The hostile library waits now and then: a restart every so many operations.
    constexpr long kOperationsPerRun = 2000;

    Random random(options.seed);
    Budget budget(options);
    long operations = 0;
    long runs = 0;
    while ((options.operations == 0 || operations < options.operations) && budget.take()) {
        Storm storm;
        storm.climate.isHonest = false;
        addTasks(storm);
        start(storm);
        storm.account.setHostile(static_cast<unsigned>(random.next() | 1));
        {
            Options part = options;
            part.operations = kOperationsPerRun;
            part.seconds = options.seconds > 0 ? options.seconds / 4 : 0;
            part.seed = random.next();
            Host host(storm, part);
            Neighbours neighbours(storm, part.seed, nullptr);
            Budget partBudget(part);
            host.run(partBudget);
            stop(storm);
            operations += partBudget.taken();
        }
        storm.account.setHostile(0);
        ++runs;
    }
    std::printf("hostile: seed %llu, %ld operations on %d threads in %.1f s, %ld restarts, "
                "%ld broken\n",
                static_cast<unsigned long long>(options.seed), operations, options.threads,
                budget.seconds(), runs, brokenCount());
}
