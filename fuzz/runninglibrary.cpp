#include "runninglibrary.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

// The library's threads come and go between two inputs, where a search for leaks stops them midway
// and fails. The tests under AddressSanitizer look for leaks.
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}

RunningLibrary &RunningLibrary::instance()
{
    static RunningLibrary &library = *new RunningLibrary;
    return library;
}

RunningLibrary::RunningLibrary()
{
    const auto logs = std::filesystem::temp_directory_path() / "zef_fuzz";
    m_loaded.log().setBaseDirectory(logs.string());
    m_loaded.log().setSilent(true);
    keepStandInLoaded();
}

void RunningLibrary::start()
{
    account().reset();
    account().clearRecords();
    account().setRecording(false);
    require(m_loaded.start(R"(,"standin":{"initFinishedAfterMs":0})"), "init fails");
}

void RunningLibrary::stop()
{
    require(framework().uninit(), "uninit fails");
}

void keepStandInLoaded()
{
    static const bool isLoaded =
        dlopen((libraryFolder() + "/libzaccountlite.so").c_str(), RTLD_NOW) != nullptr;
    require(isLoaded, "no stand-in");
}

void require(bool holds, const char *what, const std::string &text)
{
    if (!holds) {
        std::fprintf(stderr, "%s: %s\n", what, text.c_str());
        std::abort();
    }
}
