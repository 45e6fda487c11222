// What does the account list cost an account, from 1 account to 10,000?

#include "running.h"

#include <benchmark/benchmark.h>

namespace {

void listAccounts(benchmark::State &state)
{
    auto &framework = startLibrary(int(state.range(0))).framework();
    Sink sink;
    for (auto _ : state) {
        framework.call("account.getAccountListInfo", "{}", &sink);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes_out"] = double(sink.length());
    framework.uninit();
}
BENCHMARK(listAccounts)->Name("accounts/ours")->RangeMultiplier(10)->Range(1, 10000);

} // namespace

BENCHMARK_MAIN();
