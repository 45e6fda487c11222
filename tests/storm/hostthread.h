#pragma once

#include "storm/budget.h"
#include "storm/callbacks.h"
#include "storm/random.h"
#include "support/loadedlibrary.h"

#include <memory>
#include <vector>

/// What the threads of one storm share.
struct Storm
{
    zelectronframeworkspace::IElectronFramework &framework = LoadedLibrary::instance().framework();
    zefstandin::AccountControl &account = LoadedLibrary::instance().account();
    Climate climate;
    std::vector<std::unique_ptr<WatchedCallback>> tasks; ///< filled before the storm

    std::atomic<long> asynCalls{0};
    std::atomic<long> subscriptions{0};
};

/// One thread of the host: everything that a host may do between init and uninit, in random order.
///
/// Destroyed after uninit, or after awaitReplies: its callbacks must not be waited for any more.
class HostThread
{
public:
    HostThread(Storm &storm, std::uint64_t seed);

    /// Body of the thread.
    void run(Budget &budget);

    /// Waits until every call of this thread has got its reply.
    void awaitReplies();

    /// After uninit: notes each call without a reply, but for those whose answer was \a held back.
    void expectReplies(const char *held);

private:
    struct Subscription
    {
        zelectronframeworkspace::ListenerHandle handle;
        std::unique_ptr<EventCounter> callback;
    };

    void runOne();
    void call();
    void asynCall();
    void addListener();
    void removeListener();
    void registerCallback();
    Answer *freeAnswer();

    Storm &m_storm;
    Random m_random;
    AnsweredCalls m_answered{};
    std::vector<std::unique_ptr<Answer>> m_answers;
    std::vector<Subscription> m_subscriptions;
    long m_calls = 0;
};

/// The threads of the host in one storm.
class Host
{
public:
    Host(Storm &storm, const Options &options);

    /// Runs all threads until the budget is used up.
    void run(Budget &budget);

    void awaitReplies();
    void expectReplies(const char *held);

private:
    std::vector<std::unique_ptr<HostThread>> m_threads;
};
