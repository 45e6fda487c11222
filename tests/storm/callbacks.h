#pragma once

#include "storm/latency.h"
#include "storm/methods.h"
#include "zelectronframework/zelectronframework.h"

#include <array>
#include <atomic>
#include <string>

/// What the storm may expect of the account library, and what it measures.
struct Climate
{
    bool isHonest = true;            ///< calls are answered once, as documented
    bool keepsOrder = true;          ///< it delays no answer
    std::atomic<bool> isOver{false}; ///< uninit has returned: nothing may arrive any more
    LatencyHistogram latency;        ///< from asynCall to the reply, on the host's lane
};

/// A host callback that fails the storm when it is destroyed while the library is inside it, or
/// when something arrives that must not.
class WatchedCallback : public zelectronframeworkspace::IElectronCallback
{
public:
    explicit WatchedCallback(const Climate &climate) : m_climate(climate) {}
    ~WatchedCallback() override;
    WatchedCallback(const WatchedCallback &) = delete;
    WatchedCallback &operator=(const WatchedCallback &) = delete;

    void onCallback(const char *text, std::size_t length) final;

    long deliveries() const { return m_deliveries; }

protected:
    enum class Afterwards { keep, destroy };

    /// \return whether the object ends with this delivery.
    virtual Afterwards receive(const char *text, std::size_t length) = 0;

private:
    const Climate &m_climate;
    std::atomic<long> m_deliveries{0};
    std::atomic<int> m_inside{0};
};

/// Counts the events that reach one subscription.
class EventCounter : public WatchedCallback
{
public:
    using WatchedCallback::WatchedCallback;

protected:
    Afterwards receive(const char *text, std::size_t length) override;
};

/// Counts task messages; each has to be one of those that hosts are promised.
class TaskCounter final : public WatchedCallback
{
public:
    using WatchedCallback::WatchedCallback;

protected:
    Afterwards receive(const char *text, std::size_t length) override;
};

/// Counts what the account library collects.
class CollectCounter final : public WatchedCallback
{
public:
    using WatchedCallback::WatchedCallback;

protected:
    Afterwards receive(const char *text, std::size_t length) override;
};

/// The latest answered call of each lane of one calling thread.
using AnsweredCalls = std::array<std::atomic<long>, static_cast<std::size_t>(Lane::count)>;

/// The callback of one asynCall after the other, never of two at once.
class Answer final : public WatchedCallback
{
public:
    Answer(Climate &climate, AnsweredCalls &answered);

    /// \param number counts up over the calls of one thread.
    void expectReply(const Method &method, long number);

    /// The call was refused.
    void expectNothing() { m_isOpen = false; }

    bool isOpen() const { return m_isOpen; }
    const Method &method() const { return *m_method; }

protected:
    Afterwards receive(const char *text, std::size_t length) override;

private:
    using Clock = std::chrono::steady_clock;

    void checkOrder(const Method &method);

    Climate &m_climate;
    AnsweredCalls &m_answered;
    std::atomic<const Method *> m_method{kMethods};
    std::atomic<long> m_number{0};
    std::atomic<Clock::rep> m_sent{0};
    std::atomic<bool> m_isOpen{false};
};

/// The callback of one synchronous call.
class DirectReply final : public WatchedCallback
{
public:
    using WatchedCallback::WatchedCallback;
    const std::string &text() const { return m_text; }

protected:
    Afterwards receive(const char *text, std::size_t length) override;

private:
    std::string m_text;
};
