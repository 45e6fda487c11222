// Counts what a call costs, in instructions or in allocations: figures that a busy machine does not
// change. counts.sh runs it once under callgrind and once with the allocation counter.

#include "alloccount.h"
#include "jsonroad.h"
#include "running.h"
#include "webchannelpeer.h"

#include <cstdio>
#include <functional>
#include <list>
#include <string>

#include <dlfcn.h>
#include <valgrind/callgrind.h>

namespace {

constexpr int kWarmUp = 20;

std::string g_wanted; ///< what the names of the workloads to count begin with

/// Under callgrind: leaves a dump of its own, named after the workload and the number of rounds.
void countInstructions(const std::string &name, int rounds, const std::function<void()> &work)
{
    // Callgrind reads the name of a dump again when it writes the next one.
    static std::list<std::string> names;
    names.push_back(name + " " + std::to_string(rounds));
    CALLGRIND_ZERO_STATS;
    for (int i = 0; i < rounds; ++i) {
        work();
    }
    CALLGRIND_DUMP_STATS_AT(names.back().c_str());
}

void countAllocations(const std::string &name, int rounds, const std::function<void()> &work)
{
    static const auto counts = reinterpret_cast<decltype(&zefAllocationCounts)>(
        dlsym(RTLD_DEFAULT, "zefAllocationCounts"));
    if (!counts) {
        return;
    }
    const AllocationCounts before = counts(true);
    for (int i = 0; i < rounds; ++i) {
        work();
    }
    const AllocationCounts after = counts(false);
    std::printf("allocations %s %.1f\n", name.c_str(),
                double(after.allocations - before.allocations) / rounds);
    std::printf("peak %s %ld\n", name.c_str(), after.peakBytes - before.liveBytes);
}

void count(const std::string &name, int rounds, const std::function<void()> &work)
{
    if (name.rfind(g_wanted, 0) != 0) {
        return;
    }
    for (int i = 0; i < kWarmUp; ++i) {
        work();
    }
    if (RUNNING_ON_VALGRIND) {
        countInstructions(name, rounds, work);
    } else {
        countAllocations(name, rounds, work);
    }
}

void countCall(const std::string &name, const char *method, const QByteArray &params, int rounds)
{
    auto &framework = LoadedLibrary::instance().framework();
    Sink sink;
    count(name, rounds, [&] { framework.call(method, params.constData(), &sink); });
    std::printf("bytes %s %zu\n", name.c_str(), sink.length());
}

void countJsonRoad(const std::string &name, const char *method, const QByteArray &params,
                   int rounds)
{
    JsonRoad road;
    count(name, rounds,
          [&] { road.call(method, params.constData(), true, [](const char *, std::size_t) {}); });
}

void countCalls()
{
    LoadedLibrary &library = startLibrary();
    const struct
    {
        const char *name;
        const char *method;
        QByteArray params;
    } calls[] = {
        {"call", "account.getJwkPublicKeyStr", "{}"},
        {"call_text_1k", "account.signLoginData", textParams(1024)},
        {"call_text_16k", "account.signLoginData", textParams(16384)},
        {"call_members_1k", "accessbase.getDeviceHeader", memberParams(1024)},
        {"call_members_16k", "accessbase.getDeviceHeader", memberParams(16384)},
        {"call_mixed_read", "accessbase.getDeviceHeader", mixedParams()},
        {"call_mixed_unread", "account.getJwkPublicKeyStr", mixedParams()},
    };
    for (const auto &call : calls) {
        countCall(std::string(call.name) + "/ours", call.method, call.params, 100);
        countJsonRoad(std::string(call.name) + "/json", call.method, call.params, 100);
    }

    WebChannelPeer peer(1, [](const char *, std::size_t) {});
    const QByteArray text = peer.callText();
    count("call/webchannel", 100, [&] { peer.receive(text.constData()); });
    library.framework().uninit();
}

void countAccounts()
{
    for (const int accounts : {1, 10, 100, 1000, 10000}) {
        LoadedLibrary &library = startLibrary(accounts);
        countCall("accounts_" + std::to_string(accounts), "account.getAccountListInfo", "{}", 3);
        library.framework().uninit();
    }
}

void countListening()
{
    LoadedLibrary &library = startLibrary();
    auto &framework = library.framework();
    Sink sink;
    count("listen/ours", 100,
          [&] { framework.removeListener(framework.addListener("account.cookieUpdated", &sink)); });

    PublishedObject sender;
    QObject context;
    count("listen/qt", 100, [&] {
        QObject::disconnect(QObject::connect(&sender, &PublishedObject::cookieUpdated, &context,
                                             [&sink] { sink.onCallback("{}", 0); }));
    });
    framework.uninit();
}

void countEvents()
{
    constexpr int kListeners = 1000;
    LoadedLibrary &library = startLibrary();
    Sink sink;
    for (int i = 0; i < kListeners; ++i) {
        library.framework().addListener("account.cookieUpdated", &sink);
    }
    runOnHostThread(library, [&] {
        count("event/ours", 10,
              [&] { library.account().raiseSignal("cookieUpdated", zefstandin::Thread::caller); });
    });
    library.framework().uninit();

    PublishedObject sender;
    for (int i = 0; i < kListeners; ++i) {
        QObject::connect(&sender, &PublishedObject::cookieUpdated, &sender,
                         [&sink] { sink.onCallback("{}", 0); });
    }
    count("event/qt", 10, [&] { Q_EMIT sender.cookieUpdated(); });
}

} // namespace

/// \param argv one name, or its beginning, to count only that
int main(int argc, char **argv)
{
    g_wanted = argc > 1 ? argv[1] : "";
    countCalls();
    countAccounts();
    countListening();
    countEvents();
}
