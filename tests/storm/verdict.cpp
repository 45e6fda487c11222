#include "storm/verdict.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

constexpr auto kHanging = std::chrono::seconds(60);
constexpr long kPrinted = 20;

std::atomic<long> s_broken{0};

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
    std::mutex mutex;
    std::condition_variable changed;
    bool isDone = false;
    std::thread watch([&] {
        std::unique_lock<std::mutex> lock(mutex);
        if (!changed.wait_for(lock, kHanging, [&] { return isDone; })) {
            std::fprintf(stderr, "broken: %s hangs\n", what);
            std::abort();
        }
    });
    step();
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isDone = true;
        changed.notify_all();
    }
    watch.join();
}

bool waitFor(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + kHanging;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}
