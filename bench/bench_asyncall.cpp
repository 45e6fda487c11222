// What does a queued call cost, there and back: one at a time, and with 1,000 under way?

#include "running.h"
#include "webchannelpeer.h"

#include <QThread>

#include <benchmark/benchmark.h>

namespace {

void callOurs(benchmark::State &state)
{
    auto &framework = LoadedLibrary::instance().framework();
    const int depth = int(state.range(0));
    Arrivals arrivals;
    for (auto _ : state) {
        for (int i = 0; i < depth; ++i) {
            framework.asynCall("account.getJwkPublicKeyStr", "{}", &arrivals);
        }
        arrivals.take(depth);
    }
    state.SetItemsProcessed(state.iterations() * depth);
}

/// The channel on a thread of its own, to which the texts are queued.
void callWebChannel(benchmark::State &state)
{
    const int depth = int(state.range(0));
    Arrivals arrivals;
    QThread thread;
    thread.start();
    QObject context; // on that thread while it runs
    context.moveToThread(&thread);
    std::unique_ptr<WebChannelPeer> peer;
    const auto deliver = [&arrivals](const char *text, std::size_t length) {
        arrivals.onCallback(text, length);
    };
    QMetaObject::invokeMethod(
        &context, [&] { peer = std::make_unique<WebChannelPeer>(1, deliver); },
        Qt::BlockingQueuedConnection);

    const QByteArray text = peer->callText();
    for (auto _ : state) {
        for (int i = 0; i < depth; ++i) {
            QMetaObject::invokeMethod(
                &context, [&peer, text] { peer->receive(text.constData()); }, Qt::QueuedConnection);
        }
        arrivals.take(depth);
    }
    state.SetItemsProcessed(state.iterations() * depth);

    QMetaObject::invokeMethod(
        &context, [&peer] { peer.reset(); }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    LoadedLibrary &library = startLibrary();
    for (const int depth : {1, 1000}) {
        for (const auto &[name, function] : {std::pair("asyncall/ours", &callOurs),
                                             std::pair("asyncall/webchannel", &callWebChannel)}) {
            benchmark::RegisterBenchmark(name, function)
                ->Arg(depth)
                ->UseRealTime()
                ->MeasureProcessCPUTime();
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    library.framework().uninit();
}
