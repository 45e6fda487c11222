#include "stress/verdict.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <unistd.h>

namespace {

constexpr unsigned kHangingSeconds = 60;
constexpr long kPrinted = 20;

std::atomic<long> s_broken{0};
std::atomic<const char *> s_step{""};

void reportHanging(int)
{
    for (const char *text : {"broken: this hangs: ", s_step.load(), "\n"}) {
        if (write(STDERR_FILENO, text, std::strlen(text)) < 0) {
            break;
        }
    }
    std::abort();
}

} // namespace

void broken(const std::string &promise)
{
    if (s_broken.fetch_add(1) < kPrinted) {
        std::fprintf(stderr, "broken: %s\n", promise.c_str());
    }
}

void expect(bool holds, const std::string &promise)
{
    if (!holds) {
        broken(promise);
    }
}

long brokenCount()
{
    return s_broken;
}

void withoutHanging(const char *what, const std::function<void()> &step)
{
    s_step = what;
    std::signal(SIGALRM, &reportHanging);
    alarm(kHangingSeconds); // not a thread: the driver of faults counts those
    step();
    alarm(0);
}

bool waitFor(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(kHangingSeconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}
