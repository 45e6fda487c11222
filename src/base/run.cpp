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

/// How many are inside, counted apart for those who entered before and after the level was last
/// lowered: a steady stream of new ones cannot hold up the wait for the earlier ones. Every thread
/// counts in one of several places, so that threads do not contend for a line of the cache.
struct alignas(64) Counter
{
    std::atomic<int> inside[2];
};
std::array<Counter, 32> s_counters;
std::atomic<unsigned> s_threadCount{0};

struct ThreadState
{
    Counter *counter;
    RunFrames frames;
    int deliveries;
    int work; // events of the host thread, one within the other
    bool isHostThread;
};
thread_local ThreadState t_thread;

/// The state in one word, so that entering reads all of it at once: the number of the run, its
/// Admission, and which of the two counts is that of the level.
class State
{
public:
    explicit State(quint64 word) : m_word(word) {}
    State(quint64 run, Admission admission, unsigned count)
        : m_word(run << 3 | quint64(admission) << 1 | count)
    {
    }

    quint64 word() const { return m_word; }
    quint64 run() const { return m_word >> 3; }
    Admission admission() const { return Admission(m_word >> 1 & 3); }
    unsigned count() const { return m_word & 1; }

private:
    quint64 m_word;
};
std::atomic<quint64> s_state{0};
constexpr quint64 kAbandoned = 1; // no run, nothing admitted; stays for good

// Guards nothing but the waits. Never held over a call; taken by fork, so that the child finds it
// free.
std::mutex &s_mutex = *new std::mutex;
std::condition_variable &s_changed = *new std::condition_variable;
std::atomic<bool> s_isWaiting{false};
bool s_isChanging = false; // a RunChange is held; under s_mutex

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

/// Whether the calling thread has frames that another thread's change may be waiting for.
bool isInside(const ThreadState &thread)
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

/// Of all threads only the calling one exists here.
void startOverInChild()
{
    if (state().admission() != Admission::Nothing || s_isChanging) {
        s_state = kAbandoned;
    }
    for (Counter &counter : s_counters) {
        for (unsigned count : {0u, 1u}) {
            counter.inside[count] = &counter == t_thread.counter ? t_thread.frames.count[count] : 0;
        }
    }
    s_isChanging = false;
    s_isWaiting = false;
    new (&s_changed) std::condition_variable; // the old one counts waiters that do not exist
    s_mutex.unlock();
}

void restHostThread()
{
    if (state().admission() == Admission::Nothing) {
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
void wakeWaiting()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_changed.notify_all();
}

void countOut(ThreadState &thread, unsigned count)
{
    thread.counter->inside[count].fetch_sub(1);
    if (s_isWaiting) {
        wakeWaiting();
    }
}

/// \return false when the state is no longer the one that the caller has seen.
bool countIn(ThreadState &thread, State seen)
{
    if (!thread.counter) {
        thread.counter = &s_counters[s_threadCount++ % s_counters.size()];
    }
    // Sequentially consistent: either this sees the lowered level, or lower() sees the entry.
    thread.counter->inside[seen.count()].fetch_add(1);
    if (s_state == seen.word()) {
        return true;
    }
    countOut(thread, seen.count());
    return false;
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
        old, State(State(old).run() + 1, Admission::Deliveries, State(old).count()).word()));
    return true;
}

void Run::admitEverything()
{
    // Static objects are destroyed in the reverse order of their construction, so this comes when
    // a start has made most of them. A handler that the host installs later may still stop us.
    static const int isPrepared = std::atexit(&restHostThread);
    static_cast<void>(isPrepared);

    const State old = state();
    quint64 expected = State(old.run(), Admission::Deliveries, old.count()).word();
    s_state.compare_exchange_strong(expected,
                                    State(old.run(), Admission::Everything, old.count()).word());
}

void Run::lower(Admission level, const RunFrames &except)
{
    std::unique_lock<std::mutex> lock(s_mutex);
    const State old = state();
    quint64 expected = old.word();
    if (old.admission() <= level ||
        !s_state.compare_exchange_strong(expected,
                                         State(old.run(), level, old.count() ^ 1).word())) {
        return; // abandoned, or as low already
    }
    s_isWaiting = true;
    s_changed.wait(lock, [&] { return countInside(old.count()) <= except.count[old.count()]; });
    s_isWaiting = false;
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

RunScope::RunScope(Admission needed) : m_entry(enter(Run::current(), needed)) {}

RunScope::RunScope(quint64 run) : m_entry(enter(run, Admission::Deliveries)), m_isDelivery(true)
{
    t_thread.deliveries += bool(*this);
}

RunScope::~RunScope()
{
    if (!*this) {
        return;
    }
    ThreadState &thread = t_thread;
    thread.deliveries -= m_isDelivery;
    if (m_entry != Entry::Uncounted) {
        const auto count = unsigned(m_entry);
        --thread.frames.count[count];
        countOut(thread, count);
    }
}

RunScope::Entry RunScope::enter(quint64 run, Admission needed)
{
    ThreadState &thread = t_thread;
    for (;;) {
        const State seen = state();
        if (seen.run() != run || seen.admission() < needed) {
            return Entry::Refused;
        }
        if (thread.isHostThread) {
            return Entry::Uncounted;
        }
        if (countIn(thread, seen)) {
            ++thread.frames.count[seen.count()];
            return Entry(seen.count());
        }
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
