#include "stress/run.h"

#include "stress/verdict.h"

#include <filesystem>

namespace {

/// Both stand-ins remember what reached them, which would look like a leak.
void forgetRecords()
{
    zefstandin::LogControl &log = LoadedLibrary::instance().log();
    log.reset();
    log.setRecording(false);
    log.setBaseDirectory((std::filesystem::temp_directory_path() / "zef_stress").string());
    log.setSilent(true);
    LoadedLibrary::instance().account().clearRecords();
    LoadedLibrary::instance().account().setRecording(false);
}

} // namespace

void Run::start(const std::string &standin)
{
    forgetRecords();
    isOver = false;
    withoutHanging("init", [&] {
        expect(LoadedLibrary::instance().start(R"(,"standin":)" + standin), "init fails");
    });
}

void Run::stop()
{
    withoutHanging("uninit", [&] { expect(framework.uninit(), "uninit fails"); });
    isOver = true;
    forgetRecords();
}
