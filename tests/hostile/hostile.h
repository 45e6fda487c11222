#pragma once

#include "support/hostfixture.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>

/// \file
/// What the cases of zef_hostile share. Each runs in a process of its own.

using zefstandin::MessageContext;
using zefstandin::Thread;
using zelectronframeworkspace::IElectronCallback;

using Cases = std::map<std::string, std::function<void(HostFixture &)>>;

// One file per subject.
Cases lifecycleCases();
Cases misbehaviourCases();
Cases processCases();
Cases threadCases();
Cases unloadingCases();

/// What the process of an exit case ends with.
constexpr int kExitCode = 7;

/// Prints what did not hold; the process ends with 1 then.
void require(bool holds, const char *what);
bool hasBroken();

class Counter final : public IElectronCallback
{
public:
    void onCallback(const char *, std::size_t) override { ++count; }
    std::atomic<int> count{0};
};

/// Runs an action inside each delivery.
class Action final : public IElectronCallback
{
public:
    explicit Action(std::function<void()> action) : m_action(std::move(action)) {}
    void onCallback(const char *, std::size_t) override { m_action(); }

private:
    const std::function<void()> m_action;
};

template <typename Condition>
bool waitFor(Condition condition)
{
    for (int step = 0; step < 10000 && !condition(); ++step) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

/// Runs a function on the host thread, inside a callback.
void onHostThread(HostFixture &host, const std::function<void()> &function);

/// Waits until another thread's uninit refuses what would be queued.
void waitForStop(HostFixture &host);

bool isServing(HostFixture &host);
bool isAccountLibraryMapped();
