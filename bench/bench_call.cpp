// What does a synchronous call cost, small and large, on one thread and on two?

#include "jsonroad.h"
#include "running.h"
#include "webchannelpeer.h"

#include <benchmark/benchmark.h>

namespace {

void callOurs(benchmark::State &state, const char *method, const QByteArray &params)
{
    auto &framework = LoadedLibrary::instance().framework();
    Sink sink;
    for (auto _ : state) {
        framework.call(method, params.constData(), &sink);
    }
    state.counters["bytes_out"] = double(sink.length());
}

void callJsonRoad(benchmark::State &state, const char *method, const QByteArray &params,
                  bool isLogged)
{
    JsonRoad road;
    std::size_t bytes = 0;
    for (auto _ : state) {
        road.call(method, params.constData(), isLogged,
                  [&bytes](const char *, std::size_t length) { bytes = length; });
    }
    state.counters["bytes_out"] = double(bytes);
}

void callWebChannel(benchmark::State &state)
{
    std::size_t bytes = 0;
    WebChannelPeer peer(1, [&bytes](const char *, std::size_t length) { bytes = length; });
    const QByteArray text = peer.callText();
    for (auto _ : state) {
        peer.receive(text.constData());
    }
    state.counters["bytes_out"] = double(bytes);
}

void addRoads(const char *name, const char *method, const QByteArray &params)
{
    const auto add = [name](const char *road, auto function) {
        benchmark::RegisterBenchmark((std::string(name) + "/" + road).c_str(), function);
    };
    add("ours", [=](benchmark::State &state) { callOurs(state, method, params); });
    add("json", [=](benchmark::State &state) { callJsonRoad(state, method, params, true); });
    add("json_unlogged",
        [=](benchmark::State &state) { callJsonRoad(state, method, params, false); });
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    LoadedLibrary &library = startLibrary();
    addRoads("call", "account.getJwkPublicKeyStr", "{}");
    benchmark::RegisterBenchmark("call/webchannel", callWebChannel);
    addRoads("call_text_1k", "account.signLoginData", textParams(1024));
    addRoads("call_text_16k", "account.signLoginData", textParams(16384));
    addRoads("call_members_1k", "accessbase.getDeviceHeader", memberParams(1024));
    addRoads("call_members_16k", "accessbase.getDeviceHeader", memberParams(16384));
    addRoads("call_mixed_read", "accessbase.getDeviceHeader", mixedParams());
    addRoads("call_mixed_unread", "account.getJwkPublicKeyStr", mixedParams());
    benchmark::RegisterBenchmark("call_threads", callOurs, "account.getJwkPublicKeyStr",
                                 QByteArray("{}"))
        ->ThreadRange(1, 2)
        ->UseRealTime();
    benchmark::RunSpecifiedBenchmarks();
    library.framework().uninit();
}
