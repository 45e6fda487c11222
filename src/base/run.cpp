#include "base/run.h"

#include "base/hostthreadscope.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>

#include <pthread.h>

/// The number of entries, counted separately for those made before and after the level was last
/// lowered, so that a steady stream of new entries cannot delay the wait for the earlier ones. Each
/// thread uses one of several counters, so that threads do not contend for a cache line.
struct alignas(64) RunThread::Counter
{
    std::atomic<int> inside[2];
};

namespace {

using Counter = RunThread::Counter;

constexpr auto kLongestExit = std::chrono::seconds(2);
constexpr int kExitHandlers = 3; // those of the first start

std::array<Counter, 32> s_counters;
std::atomic<unsigned> s_threadCount{0};

thread_local RunThread t_thread{}; // the braces make it constant-initialised: no check at each use

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
std::atomic<int> s_waiting{0}; // threads in waitForEarlier()
bool s_isChanging = false;     // a RunChange is held; under s_mutex, as is the next one
int s_ownEntries[2] = {0, 0}; // of its holder when it was made, by which of the two counts has them

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
bool isInside(const RunThread &thread)
{
    return HostThreadScope::isCurrent() || thread.entryCount() > 0;
}

/// Under the lock: the waiting thread must not go on, and the process perhaps end, before this
/// returns.
Q_NEVER_INLINE void wakeWaiting()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_changed.notify_all();
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
            counter.inside[count] = &counter == t_thread.counter ? t_thread.entries[count] : 0;
        }
    }
    s_isChanging = false;
    std::fill_n(s_ownEntries, 2, 0);
    s_waiting = 0;
    HostWorkScope::forget();
    new (&s_changed) std::condition_variable; // the old one counts waiters that do not exist
    s_mutex.unlock();
}

/// Exit handler.
void abandonRun()
{
    s_state = kAbandoned;
    wakeWaiting();
    HostWorkScope::waitAtExit();
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
    // Sequentially consistent: either this sees the lowered level, or who waits sees the entry.
    counter.inside[seen.count()].fetch_add(1);
    if (s_state == seen.word()) {
        return true;
    }
    countOut(counter, seen.count());
    return false;
}

RunEntry enterSlowly(RunThread &thread, State seen, Admission needed);

inline RunEntry enter(RunThread &thread, Counter *counter, State seen, Admission needed)
{
    if (!seen.admits(needed)) {
        return {};
    }
    if (Q_UNLIKELY(!counter || !countIn(*counter, seen))) {
        return enterSlowly(thread, seen, needed);
    }
    ++thread.entries[seen.count()];
    return {&thread, qint8(seen.count())};
}

/// On the host thread, for the first time, or after the state has changed.
Q_NEVER_INLINE RunEntry enterSlowly(RunThread &thread, State seen, Admission needed)
{
    if (HostThreadScope::isCurrent()) {
        return {&thread, -1};
    }
    if (!thread.counter) {
        thread.counter = &s_counters[s_threadCount++ % s_counters.size()];
    }
    const State now = state();
    return now.run() == seen.run() ? enter(thread, thread.counter, now, needed) : RunEntry();
}

// The thread is read before the state: reading it is a function call, before which fewer registers
// have to be saved.

inline RunEntry enterCurrent(Admission needed)
{
    RunThread &thread = t_thread;
    Counter *const counter = thread.counter;
    return enter(thread, counter, state(), needed);
}

inline RunEntry enterIfCurrent(quint64 run)
{
    RunThread &thread = t_thread;
    Counter *const counter = thread.counter;
    const State seen = state();
    return seen.run() == run ? enter(thread, counter, seen, Admission::Deliveries) : RunEntry();
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
    abandonAtExit();

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
    const State old = state();
    quint64 expected = State(Admission::Deliveries, old.run(), old.count()).word();
    s_state.compare_exchange_strong(expected,
                                    State(Admission::Everything, old.run(), old.count()).word());
}

void Run::lower(Admission level)
{
    const State old = state();
    quint64 expected = old.word();
    if (old.level() >= level && expected != kAbandoned) {
        s_state.compare_exchange_strong(expected, State(level, old.run(), old.count() ^ 1).word());
    }
    wakeWaiting();
}

bool Run::waitForEarlier(Admission level)
{
    const NoCancelScope noCancel;
    std::unique_lock<std::mutex> lock(s_mutex);
    ++s_waiting;
    s_changed.wait(lock, [&] {
        const unsigned earlier = state().count() ^ 1;
        return isAbandoned() ||
               (state().level() <= level && countInside(earlier) <= s_ownEntries[earlier]);
    });
    --s_waiting;
    lock.unlock();
    if (!isAbandoned()) {
        return true;
    }
    if (HostThreadScope::isCurrent()) {
        HostWorkScope::restForever();
    }
    waitForExit();
    return false;
}

bool Run::isInsideLibrary()
{
    return HostThreadScope::isCurrent() || t_thread.entryCount() > t_thread.hostCode;
}

bool Run::isAbandoned()
{
    return s_state == kAbandoned;
}

void Run::waitForExit()
{
    std::this_thread::sleep_for(kLongestExit);
}

void Run::abandonAtExit()
{
    static std::atomic<int> registered{0};
    if (registered < kExitHandlers) {
        ++registered;
        std::atexit(&abandonRun);
    }
}

RunScope::RunScope(Admission needed) : m_entry(enterCurrent(needed)) {}

RunScope::RunScope(quint64 run) : m_entry(enterIfCurrent(run)) {}

RunScope::~RunScope()
{
    const auto [thread, count] = m_entry;
    if (count >= 0) {
        --thread->entries[count];
        countOut(*thread->counter, unsigned(count));
    }
}

RunChange::RunChange()
{
    std::unique_lock<std::mutex> lock(s_mutex);
    if (Run::isAbandoned() || (s_isChanging && isInside(t_thread))) {
        return;
    }
    s_changed.wait(lock, [] { return !s_isChanging || Run::isAbandoned(); });
    if (Run::isAbandoned()) {
        lock.unlock();
        Run::waitForExit();
    } else {
        s_isChanging = true;
        std::copy_n(t_thread.entries, 2, s_ownEntries);
        m_isHeld = true;
    }
}

RunChange::~RunChange()
{
    if (m_isHeld) {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_isChanging = false;
        std::fill_n(s_ownEntries, 2, 0);
        s_changed.notify_all();
    }
}
