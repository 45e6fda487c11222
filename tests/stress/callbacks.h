#pragma once

#include "stress/run.h"

#include <map>

/// A host callback that notes a broken promise when it is destroyed while the library is inside it,
/// or when something arrives that must not.
class WatchedCallback : public zelectronframeworkspace::IElectronCallback
{
public:
    explicit WatchedCallback(const Run &run) : m_run(run) {}
    ~WatchedCallback() override;
    WatchedCallback(const WatchedCallback &) = delete;
    WatchedCallback &operator=(const WatchedCallback &) = delete;

    void onCallback(const char *text, std::size_t length) final;

    long deliveries() const { return m_deliveries; }

protected:
    enum class Afterwards { keep, destroy };

    /// \return whether the object ends with this delivery.
    virtual Afterwards receive(const std::string &text, std::size_t length) = 0;

private:
    const Run &m_run;
    std::atomic<long> m_deliveries{0};
    std::atomic<int> m_inside{0};
};

/// Counts the deliveries of an event, or of a task; each has to be one that hosts are promised.
class Counter : public WatchedCallback
{
public:
    explicit Counter(const Run &run, const Task *task = nullptr)
        : WatchedCallback(run), m_task(task)
    {
    }

protected:
    Afterwards receive(const std::string &text, std::size_t length) override;

private:
    const Task *const m_task;
};

/// One for each task type.
using TaskCounters = std::map<std::string, Counter>;
TaskCounters taskCounters(const Run &run);

/// The latest answered call of each queue of one calling thread.
using AnsweredCalls = std::vector<std::atomic<long>>;

/// The callback of one asynCall after the other, never of two at once.
class Answer final : public WatchedCallback
{
public:
    Answer(Run &run, AnsweredCalls &answered);

    /// \param number counts up over the calls of one thread.
    void expectReply(const Request &request, long number);

    /// The call was refused.
    void expectNothing() { m_isOpen = false; }

    bool isOpen() const { return m_isOpen; }
    const Request &request() const { return *m_request; }

protected:
    Afterwards receive(const std::string &text, std::size_t length) override;

private:
    Run &m_run;
    AnsweredCalls &m_answered;
    std::atomic<const Request *> m_request;
    std::atomic<long> m_number{0};
    std::atomic<Budget::Clock::rep> m_sent{0};
    std::atomic<bool> m_isOpen{false};
};

/// The callback of one synchronous call.
class DirectReply final : public WatchedCallback
{
public:
    using WatchedCallback::WatchedCallback;
    const std::string &text() const { return m_text; }

protected:
    Afterwards receive(const std::string &text, std::size_t length) override;

private:
    std::string m_text;
};
