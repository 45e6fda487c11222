#include "storm/modes.h"

#include "storm/verdict.h"

#include <filesystem>

namespace {

/// Both stand-ins remember what reached them, which would look like a leak.
void forgetRecords()
{
    zefstandin::LogControl &log = LoadedLibrary::instance().log();
    log.reset();
    log.setBaseDirectory((std::filesystem::temp_directory_path() / "zef_storm").string());
    log.setSilent(true);
    LoadedLibrary::instance().account().clearRecords();
    LoadedLibrary::instance().account().setRecording(false);
}

} // namespace

void start(Storm &storm, const char *standin)
{
    forgetRecords();
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
    forgetRecords();
}

void addTasks(Storm &storm)
{
    storm.tasks.push_back(std::make_unique<TaskCounter>(storm.climate));
    storm.tasks.push_back(std::make_unique<CollectCounter>(storm.climate));
}
