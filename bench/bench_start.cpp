// What does it cost to start the framework and to stop it?

#include "running.h"

#include <QCoreApplication>
#include <QThread>

#include <benchmark/benchmark.h>

#include <dlfcn.h>

namespace {

void startOurs(benchmark::State &state)
{
    LoadedLibrary &library = startLibrary();
    // Held loaded: what the loader does for a library is that library's cost.
    void *account = dlopen("libzaccountlite.so", RTLD_NOW | RTLD_NOLOAD);
    library.framework().uninit();
    for (auto _ : state) {
        library.start(R"(,"standin":{"initFinishedAfterMs":-1})");
        library.framework().uninit();
    }
    dlclose(account);
}
BENCHMARK(startOurs)->Name("start/ours")->UseRealTime()->MeasureProcessCPUTime();

/// A core application with its event loop on a thread, and nothing else.
void startQt(benchmark::State &state)
{
    for (auto _ : state) {
        const std::unique_ptr<QThread> thread(QThread::create([] {
            int argc = 0;
            QCoreApplication application(argc, nullptr);
            QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
            QCoreApplication::exec();
        }));
        thread->start();
        thread->wait();
    }
}
BENCHMARK(startQt)->Name("start/qt")->UseRealTime()->MeasureProcessCPUTime();

} // namespace

BENCHMARK_MAIN();
