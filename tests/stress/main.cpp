#include "stress/modes.h"
#include "stress/verdict.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <map>
#include <string>

namespace {

struct Mode
{
    void (*run)(const Options &);
    long operations; ///< when neither number nor time is given
};

const std::map<std::string, Mode> kModes = {
    {"mixed", {&runMixed, 100000}},    {"listeners", {&runListeners, 100000}},
    {"restart", {&runRestart, 1000}},  {"shutdown", {&runShutdown, 50}},
    {"hostile", {&runHostile, 10000}}, {"soak", {&runSoak, 0}},
};

} // namespace

int main(int argc, char **argv)
try {
    Options options;
    std::string name = "mixed";
    CLI::App app(
        "Stress tests of the framework library; exit code 0 only when every promise was kept");
    app.add_option("--mode", name, "the test")
        ->check(CLI::IsMember({"mixed", "listeners", "restart", "shutdown", "hostile", "soak"}));
    app.add_option("--threads", options.threads, "threads of the host")->check(CLI::Range(1, 256));
    app.add_option("--operations", options.operations,
                   "operations, removals, restarts or shutdowns, by the mode");
    app.add_option("--seconds", options.seconds, "after which no operation starts");
    app.add_option("--seed", options.seed, "of the random order");
    CLI11_PARSE(app, argc, argv);

    const Mode &mode = kModes.at(name);
    if (options.operations <= 0 && options.seconds <= 0) {
        options.operations = mode.operations;
    }
    mode.run(options);
    return brokenCount() == 0 ? 0 : 1;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
}
