#include "base/run.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>

#include <pthread.h>
#include <unistd.h>

namespace {

constexpr auto kLongestExitWait = std::chrono::milliseconds(500);
constexpr auto kExitWaitStep = std::chrono::microseconds(200);

/// The number of entries, counted separately for those made before and after the level was last
/// lowered, so that a steady stream of new entries cannot delay the wait for the earlier ones. Each
/// thread uses one of several counters, so that threads do not contend for a cache line.
struct alignas(64) Counter
{
    std::atomic<int> inside[2];
};
std::array<Counter, 32> s_counters;
std::atomic<unsigned> s_threadCount{0};

struct Thread
{
    Counter *counter;
    RunFrames frames;
    int deliveries;
    int work; // events of the host thread, one within the other
    bool isHostThread;
};
thread_local Thread t_thread{}; // the braces spare it a constructor that runs at first use

/// The state in one word, so that entering reads all of it at once: from the highest bits down the
/// Admission, the number of the run, and which of the two counts is in use.
class State
{
public:
    explicit State(quint64 word) : m_word(word) {}
    State(Admission level, quint64 run, unsigned count) : m_word(quint64(level) | run << 1 | count)
    {
    }

    quint64 word() const { return m_word; }
    bool admits(Admission needed) const { return m_word >= quint64(needed); }
    Admission level() const { return Admission(m_word & quint64(Admission::Everything)); }
    quint64 run() const { return (m_word & ~quint64(Admission::Everything)) >> 1; }
    unsigned count() const { return m_word & 1; }

private:
    quint64 m_word;
};
std::atomic<quint64> s_state{0};
constexpr quint64 kAbandoned = 1; // no run, nothing admitted; stays for good

// Guards only the waits. Never held during a call; locked during fork, so that it is free in the
// child.
std::mutex &s_mutex = *new std::mutex;
std::condition_variable &s_changed = *new std::condition_variable;
std::atomic<int> s_waiting{0}; // threads in lower()
bool s_isChanging = false;     // a RunChange is held; under s_mutex

std::atomic<bool> s_isHostBusy{false};
std::atomic<bool> s_isExiting{false};

State state()
{
    return State(s_state.load());
}

int countInside(unsigned count)
{
    int inside = 0;
    for (const Counter &counter : s_counters) {
        inside += counter.inside[count].load();
    }
    return inside;
}

/// Whether the calling thread has entries that another thread's change may be waiting for.
bool isInside(const Thread &thread)
{
    return thread.isHostThread || thread.frames.count[0] + thread.frames.count[1] > 0;
}

void lockBeforeFork()
{
    s_mutex.lock();
}

void unlockInParent()
{
    s_mutex.unlock();
}

/// Only the calling thread exists here.
void startOverInChild()
{
    if (state().level() != Admission::Nothing || s_isChanging) {
        s_state = kAbandoned;
    }
    for (Counter &counter : s_counters) {
        for (unsigned count : {0u, 1u}) {
            counter.inside[count] = &counter == t_thread.counter ? t_thread.frames.count[count] : 0;
        }
    }
    s_isChanging = false;
    s_waiting = 0;
    new (&s_changed) std::condition_variable; // the old one counts waiters that do not exist
    s_mutex.unlock();
}

void restHostThread()
{
    if (state().level() == Admission::Nothing) {
        return;
    }
    s_state = kAbandoned;
    s_isExiting = true;
    if (t_thread.isHostThread) {
        return;
    }
    const auto end = std::chrono::steady_clock::now() + kLongestExitWait;
    while (s_isHostBusy && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kExitWaitStep);
    }
}

/// Under the lock: the waiting thread must not go on, and the process perhaps end, before this
/// returns.
Q_NEVER_INLINE void wakeWaiting()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_changed.notify_all();
}

inline void countOut(Counter &counter, unsigned count)
{
    counter.inside[count].fetch_sub(1);
    if (Q_UNLIKELY(s_waiting > 0)) {
        wakeWaiting();
    }
}

/// \return false when the state is no longer the one that the caller has seen.
inline bool countIn(Counter &counter, State seen)
{
    // Sequentially consistent: either this sees the lowered level, or lower() sees the entry.
    counter.inside[seen.count()].fetch_add(1);
    if (s_state == seen.word()) {
        return true;
    }
    countOut(counter, seen.count());
    return false;
}

struct Entry
{
    Thread *thread = nullptr; // null when refused
    qint8 count = -1;         // which of the two, if it was counted
};

Entry enterSlowly(Thread &thread, State seen, Admission needed);

inline Entry enter(Thread &thread, Counter *counter, State seen, Admission needed)
{
    if (!seen.admits(needed)) {
        return {};
    }
    if (Q_UNLIKELY(!counter || !countIn(*counter, seen))) {
        return enterSlowly(thread, seen, needed);
    }
    ++thread.frames.count[seen.count()];
    return {&thread, qint8(seen.count())};
}

/// On the host thread, for the first time, or after the state has changed.
Q_NEVER_INLINE Entry enterSlowly(Thread &thread, State seen, Admission needed)
{
    if (thread.isHostThread) {
        return {&thread, -1};
    }
    if (!thread.counter) {
        thread.counter = &s_counters[s_threadCount++ % s_counters.size()];
    }
    const State now = state();
    return now.run() == seen.run() ? enter(thread, thread.counter, now, needed) : Entry();
}

} // namespace

quint64 Run::current()
{
    return state().run();
}

bool Run::begin()
{
    static const int isPrepared =
        pthread_atfork(&lockBeforeFork, &unlockInParent, &startOverInChild);
    static_cast<void>(isPrepared);

    quint64 old = s_state;
    do {
        if (old == kAbandoned) {
            return false;
        }
    } while (!s_state.compare_exchange_weak(
        old, State(Admission::Deliveries, State(old).run() + 1, State(old).count()).word()));
    return true;
}

void Run::admitEverything()
{
    // Static objects are destroyed in the reverse order of their construction, so this comes when
    // a start has created most of them. Handlers that the host installs later can still call
    // uninit.
    static const int isPrepared = std::atexit(&restHostThread);
    static_cast<void>(isPrepared);

    const State old = state();
    quint64 expected = State(Admission::Deliveries, old.run(), old.count()).word();
    s_state.compare_exchange_strong(expected,
                                    State(Admission::Everything, old.run(), old.count()).word());
}

void Run::lower(Admission level, const RunFrames &except)
{
    std::unique_lock<std::mutex> lock(s_mutex);
    const State old = state();
    quint64 expected = old.word();
    if (old.level() <= level || !s_state.compare_exchange_strong(
                                    expected, State(level, old.run(), old.count() ^ 1).word())) {
        return; // abandoned, or as low already
    }
    ++s_waiting;
    s_changed.wait(lock, [&] { return countInside(old.count()) <= except.count[old.count()]; });
    --s_waiting;
}

RunFrames Run::ownFrames()
{
    return t_thread.frames;
}

bool Run::isInsideDelivery()
{
    return t_thread.deliveries > 0;
}

bool Run::isAbandoned()
{
    return s_state == kAbandoned;
}

// The thread is read before the state: reading it is a call, which saves fewer registers then.

RunScope::RunScope(Admission needed)
{
    Thread &thread = t_thread;
    Counter *const counter = thread.counter;
    const Entry entry = enter(thread, counter, state(), needed);
    m_thread = entry.thread;
    m_count = entry.count;
}

RunScope::RunScope(quint64 run)
{
    Thread &thread = t_thread;
    Counter *const counter = thread.counter;
    const State seen = state();
    if (seen.run() != run) {
        return;
    }
    const Entry entry = enter(thread, counter, seen, Admission::Deliveries);
    m_thread = entry.thread;
    m_count = entry.count;
    m_isDelivery = entry.thread != nullptr;
    thread.deliveries += m_isDelivery;
}

RunScope::~RunScope()
{
    if (!m_thread) {
        return;
    }
    auto &thread = *static_cast<Thread *>(m_thread);
    thread.deliveries -= m_isDelivery;
    if (m_count >= 0) {
        --thread.frames.count[m_count];
        countOut(*thread.counter, unsigned(m_count));
    }
}

RunChange::RunChange()
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
    std::unique_lock<std::mutex> lock(s_mutex);
    if (s_isChanging && isInside(t_thread)) {
        return;
    }
    s_changed.wait(lock, [] { return !s_isChanging; });
    s_isChanging = true;
    m_isHeld = true;
}

RunChange::~RunChange()
{
    if (m_isHeld) {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_isChanging = false;
        s_changed.notify_all();
    }
    pthread_setcancelstate(m_cancelState, nullptr);
}

HostThreadScope::HostThreadScope()
{
    t_thread.isHostThread = true;
}

HostThreadScope::~HostThreadScope()
{
    t_thread.isHostThread = false;
}

bool HostThreadScope::isCurrent()
{
    return t_thread.isHostThread;
}

HostWorkScope::HostWorkScope()
{
    if (!t_thread.isHostThread || t_thread.work++ > 0) {
        return;
    }
    s_isHostBusy = true; // before the test below, as the exiting thread does the reverse
    if (s_isExiting) {
        s_isHostBusy = false;
        for (;;) {
            pause();
        }
    }
}

HostWorkScope::~HostWorkScope()
{
    if (t_thread.isHostThread && --t_thread.work == 0) {
        s_isHostBusy = false;
    }
}

int HostWorkScope::depth()
{
    return t_thread.work;
}
