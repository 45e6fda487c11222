// What does an event cost, and what does it cost to listen to one?

#include "running.h"
#include "webchannelpeer.h"

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

using Handle = zelectronframeworkspace::ListenerHandle;

constexpr char kEvent[] = "account.cookieUpdated";

template <typename Function>
double secondsOf(Function function)
{
    const auto start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<Handle> addListeners(int count, Sink &sink)
{
    std::vector<Handle> handles;
    handles.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i) {
        handles.push_back(LoadedLibrary::instance().framework().addListener(kEvent, &sink));
    }
    return handles;
}

void removeListeners(const std::vector<Handle> &handles)
{
    for (const Handle handle : handles) {
        LoadedLibrary::instance().framework().removeListener(handle);
    }
}

/// From the signal of the account library on, on the host thread.
void raiseOurs(benchmark::State &state)
{
    LoadedLibrary &library = LoadedLibrary::instance();
    Sink sink;
    const std::vector<Handle> handles = addListeners(int(state.range(0)), sink);
    const auto raise = [&library] {
        library.account().raiseSignal("cookieUpdated", zefstandin::Thread::caller);
    };
    for (auto _ : state) {
        runOnHostThread(library, [&] { state.SetIterationTime(secondsOf(raise)); });
    }
    removeListeners(handles);
}

void raiseQt(benchmark::State &state)
{
    PublishedObject sender;
    Sink sink;
    for (int i = 0; i < state.range(0); ++i) {
        QObject::connect(&sender, &PublishedObject::cookieUpdated, &sender,
                         [&sink] { sink.onCallback("{}", 0); });
    }
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([&sender] { Q_EMIT sender.cookieUpdated(); }));
    }
}

void raiseWebChannel(benchmark::State &state)
{
    Sink sink;
    WebChannelPeer peer(int(state.range(0)), [&sink](const char *text, std::size_t length) {
        sink.onCallback(text, length);
    });
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([&peer] { peer.raise(); }));
    }
}

void listenOurs(benchmark::State &state)
{
    auto &framework = LoadedLibrary::instance().framework();
    Sink sink;
    const std::vector<Handle> handles = addListeners(int(state.range(0)), sink);
    for (auto _ : state) {
        framework.removeListener(framework.addListener(kEvent, &sink));
    }
    removeListeners(handles);
}

void listenQt(benchmark::State &state)
{
    PublishedObject sender;
    QObject context;
    Sink sink;
    const auto connectOne = [&] {
        return QObject::connect(&sender, &PublishedObject::cookieUpdated, &context,
                                [&sink] { sink.onCallback("{}", 0); });
    };
    for (int i = 0; i < state.range(0); ++i) {
        connectOne();
    }
    for (auto _ : state) {
        QObject::disconnect(connectOne());
    }
}

} // namespace

BENCHMARK(raiseOurs)->Name("event/ours")->Arg(1000)->UseManualTime();
BENCHMARK(raiseQt)->Name("event/qt")->Arg(1000)->UseManualTime();
BENCHMARK(raiseWebChannel)->Name("event/webchannel")->Arg(1000)->UseManualTime();
BENCHMARK(listenOurs)->Name("listen/ours")->Arg(10)->Arg(10000);
BENCHMARK(listenQt)->Name("listen/qt")->Arg(10)->Arg(10000);

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    LoadedLibrary &library = startLibrary();
    benchmark::RunSpecifiedBenchmarks();
    library.framework().uninit();
}
