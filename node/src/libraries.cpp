#include "libraries.h"

#include <cstdlib>
#include <memory>

#include <dlfcn.h>
#include <gnu/libc-version.h>
#include <link.h>

std::string lastLoaderError()
{
    const char *const text = dlerror(); // NOLINT(concurrency-mt-unsafe): per thread in glibc
    return text ? text : "unknown reason";
}

std::string addonFolder()
{
    Dl_info info = {};
    if (!dladdr(reinterpret_cast<const void *>(&addonFolder), &info) || !info.dli_fname) {
        return {};
    }
    const std::string file = info.dli_fname;
    const auto end = file.rfind('/');
    return end == std::string::npos ? std::string() : file.substr(0, end);
}

std::string glibcVersion()
{
    return gnu_get_libc_version();
}

std::string qtVersion()
{
    void *const library = dlopen("libQt5Core.so.5", RTLD_LAZY | RTLD_NOLOAD);
    if (!library) {
        return {};
    }
    using Version = const char *(*)();
    const auto version = reinterpret_cast<Version>(dlsym(library, "qVersion"));
    std::string text = version ? version() : "";
    dlclose(library);
    return text;
}

Inspection inspectLibrary(const std::string &name, bool isLoading)
{
    void *const library = dlopen(name.c_str(), RTLD_LAZY | (isLoading ? 0 : RTLD_NOLOAD));
    if (!library) {
        return {{}, isLoading ? lastLoaderError() : "not loaded"};
    }
    const link_map *map = nullptr;
    Inspection inspection{name, {}};
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 && map && map->l_name && *map->l_name) {
        inspection.path = map->l_name;
    }
    dlclose(library);
    return inspection;
}

std::string askMock(const std::string &command)
{
    // Stays mapped for good once it is loaded.
    void *const library = dlopen("libzaccountkeeper.so", RTLD_LAZY | RTLD_NOLOAD);
    using Command = char *(*)(const char *);
    const auto carryOut =
        library ? reinterpret_cast<Command>(dlsym(library, "zefAccountStandinCommand")) : nullptr;
    if (!carryOut) {
        return {};
    }
    const std::unique_ptr<char, decltype(&std::free)> answer(carryOut(command.c_str()), &std::free);
    return answer ? answer.get() : "";
}

LoadedLibraries::~LoadedLibraries()
{
    for (void *handle : m_handles) {
        dlclose(handle);
    }
}

std::string LoadedLibraries::add(const NamedLibrary &library)
{
    void *const handle = dlopen(library.file.c_str(), RTLD_LAZY);
    if (!handle) {
        return "preload " + library.file + '\n' + lastLoaderError();
    }
    m_handles.push_back(handle);
    // By its own name (SONAME), which is what the loader compares.
    void *const byName = dlopen(library.name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (byName) {
        m_handles.push_back(byName);
    }
    return byName == handle ? "" : "name " + library.file;
}
