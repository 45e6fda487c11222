// What does the log line of a long reply cost, an account of a list at a time?

#include "log/logline.h"
#include "log/zelectronlogproxy.h"
#include "running.h"

#include <benchmark/benchmark.h>

namespace {

constexpr char kRecord[] =
    R"("{\"avatar_url\":\"https://account.example.com/avatar/1234?size=180x180\",)"
    R"(\"company_custom_domain\":\"company-1234.example.com\",\"company_id\":\"company-1234\",)"
    R"(\"company_logo\":\"https://account.example.com/logo/1234.png\",)"
    "\\\"company_name\\\":\\\"\u4e5d\u5dde\u7530\u4e2d\u88fd\u4f5c\u6240\\\","
    R"(\"is_company_account\":true,\"is_current\":false,\"is_login\":true,)"
    R"(\"link_text\":\"\",\"link_url\":\"https://account.example.com/details/1234\",)"
    R"(\"login_account_limit\":10,\"loginmode\":\"generated\",\"logout_reason\":\"\",)"
    "\\\"need_tfa\\\":false,\\\"nickname\\\":\\\"\u738b\u5c0f\u660e\\\","
    R"(\"reason\":\"\",\"session_status\":\"online\",\"status\":\"normal\",)"
    R"(\"userid\":\"user-1234\"}",)";

void runLog(benchmark::State &state, void (*write)(const QByteArray &text))
{
    const QByteArray text = QByteArray(kRecord).repeated(int(state.range(0)));
    for (auto _ : state) {
        write(text);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes"] = double(text.size());
}

void logOurs(benchmark::State &state)
{
    runLog(state, [](const QByteArray &text) {
        logInfo("call", "call method:%1, params:%2, result:%3",
                {"account.getAccountListInfo", "{}", text});
    });
}

void logQt(benchmark::State &state)
{
    runLog(state, [](const QByteArray &text) {
        const QString line = QString("call call method:%1, params:%2, result:%3")
                                 .arg("account.getAccountListInfo", "{}", QString::fromUtf8(text));
        g_logProxy.load()->info(L"zelectronframework", line.toStdWString());
    });
}

BENCHMARK(logOurs)->Name("log/ours")->RangeMultiplier(10)->Range(1, 10000);
BENCHMARK(logQt)->Name("log/qt")->RangeMultiplier(10)->Range(1, 10000);

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    LoadedLibrary::instance().log().setSilent(true);
    g_logProxy = new ZElectronLogProxy;
    if (!g_logProxy.load()->load()) {
        qFatal("no log library");
    }
    benchmark::RunSpecifiedBenchmarks();
    delete g_logProxy.load();
}
