// Starts the framework, calls one method, prints the reply and shuts down.
#include <zelectronframework/zelectronframework.h>

#include <cstdio>

#include <dlfcn.h>

using namespace zelectronframeworkspace;

struct PrintReply : IElectronCallback
{
    void onCallback(const char *text, std::size_t) override { std::puts(text); }
};

int main(int argc, char **argv)
{
    void *library = dlopen(argc > 1 ? argv[1] : "libzelectronframework.so", RTLD_NOW);
    void *symbol = library ? dlsym(library, "createElectronFrameworkObject") : nullptr;
    if (!symbol) {
        return std::fprintf(stderr, "%s\n", dlerror()), 2;
    }
    auto *framework = reinterpret_cast<decltype(&createElectronFrameworkObject)>(symbol)();

    PrintReply reply;
    const bool isRunning = framework->init(R"({"app":{"appName":"minimal","productName":"minimal",
        "version":"1.0.0","localStoragePath":"/var/tmp/minimal"}})");
    const bool wasCalled = isRunning && framework->call("utils.getLogPath", "{}", &reply);
    framework->uninit();
    return wasCalled ? 0 : 1;
}
