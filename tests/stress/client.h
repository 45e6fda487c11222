#pragma once

#include "stress/callbacks.h"
#include "stress/dice.h"

/// One thread of the host: everything that a host may do between init and uninit, as the dice fall.
///
/// Destroyed after uninit, or after awaitReplies: its callbacks must not be waited for any more.
class Client
{
public:
    /// \param tasks what it registers for tasks.
    Client(Run &run, TaskCounters &tasks);

    /// One operation.
    void step(Dice &dice);

    /// Ends subscriptions until \p left are left.
    void removeListeners(std::size_t left);

    /// Waits until every call has got its reply.
    void awaitReplies();

    /// After uninit: notes each call without a reply, but for those of the path \p deferred.
    void expectReplies(const char *deferred);

private:
    struct Subscription
    {
        zelectronframeworkspace::ListenerHandle handle;
        std::unique_ptr<Counter> callback;
    };

    void call(Dice &dice);
    void asynCall(Dice &dice);
    void addListener(Dice &dice);
    void removeListener(Dice &dice);
    void registerCallback(Dice &dice);
    Answer *freeAnswer(Dice &dice);

    Run &m_run;
    TaskCounters &m_tasks;
    int m_registrations = 0;
    AnsweredCalls m_answered;
    std::vector<std::unique_ptr<Answer>> m_answers;
    std::vector<Subscription> m_subscriptions;
    long m_calls = 0;
};

/// The threads of the host in one run.
class Clients
{
public:
    Clients(Run &run, const Options &options);

    /// Runs all threads until the budget is used up.
    void run(Budget &budget);

    void awaitReplies();
    void expectReplies(const char *deferred);

    TaskCounters tasks;

private:
    const std::uint64_t m_seed;
    std::vector<std::unique_ptr<Client>> m_clients;
};
