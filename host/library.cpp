#include "library.h"

#include "text.h"

#include <filesystem>

#include <dlfcn.h>

namespace zefhost {

namespace {

namespace fs = std::filesystem;

constexpr const char *kEntry = "createElectronFrameworkObject";

std::string loaderError()
{
    const char *text = dlerror(); // NOLINT(concurrency-mt-unsafe): kept per thread
    return text ? text : "no reason given";
}

std::string ownSettings()
{
    const fs::path storage = fs::temp_directory_path() / "zefhost";
    return Json{{"app",
                 {{"appName", "zefhost"},
                  {"productName", "zefhost"},
                  {"version", "1.0.0"},
                  {"localStoragePath", storage.string()}}}}
        .dump();
}

} // namespace

std::string defaultLibrary()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / "../lib/libzelectronframework.so").lexically_normal().string();
}

zelectronframeworkspace::IElectronFramework *loadFramework(const std::string &file)
{
    // A path is always meant: without a slash the loader would search its folders for the name.
    const std::string path = fs::absolute(file).string();
    void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        throw StartFailure("cannot load the library: " + loaderError() +
                           "\nBuild it (cmake --build --preset dev), or name its file with "
                           "--library FILE.");
    }
    const auto create =
        reinterpret_cast<decltype(&createElectronFrameworkObject)>(dlsym(handle, kEntry));
    if (!create) {
        throw StartFailure(path + " has no " + kEntry +
                           ".\nThat file is another library: name libzelectronframework.so with "
                           "--library FILE.");
    }
    auto *framework = create();
    if (!framework) {
        throw StartFailure(path + ": " + kEntry + " gave no object.");
    }
    return framework;
}

std::string settingsText(const std::string &file)
{
    if (file.empty()) {
        return ownSettings();
    }
    std::string error;
    std::optional<std::string> content = readFile(file, error);
    if (!content || !parseObject(*content, error)) {
        throw StartFailure("bad settings: " + file + ": " + error +
                           "\nThe file holds one JSON object; examples/settings.json shows one.");
    }
    return *content;
}

} // namespace zefhost
