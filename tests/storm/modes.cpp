#include "storm/modes.h"

#include "storm/verdict.h"

void start(Storm &storm, const char *standin)
{
    storm.climate.isOver = false;
    withoutHanging("init", [&] {
        expect(LoadedLibrary::instance().start(std::string(R"(,"standin":)") + standin),
               "init fails");
    });
}

void stop(Storm &storm)
{
    withoutHanging("uninit", [&] { expect(storm.framework.uninit(), "uninit fails"); });
    storm.climate.isOver = true;
}

void addTasks(Storm &storm)
{
    storm.tasks.push_back(std::make_unique<TaskCounter>(storm.climate));
    storm.tasks.push_back(std::make_unique<CollectCounter>(storm.climate));
}
