#include "storm/modes.h"
#include "storm/neighbours.h"
#include "storm/verdict.h"

#include <cstdio>
#include <mutex>

using zelectronframeworkspace::ListenerHandle;

namespace {

/// A subscription that its own delivery ends and frees.
class EndingListener final : public EventCounter
{
public:
    EndingListener(Storm &storm, std::atomic<long> &removals)
        : EventCounter(storm.climate), m_storm(storm), m_removals(removals)
    {
    }

    /// The object may be gone when this returns.
    void subscribe(const char *event)
    {
        const ListenerHandle handle = m_storm.framework.addListener(event, this);
        expect(handle != 0, "addListener is refused");
        m_handle = handle;
    }

protected:
    Afterwards receive(const char *text, std::size_t length) override
    {
        EventCounter::receive(text, length);
        while (m_handle == 0) { // the event is faster than the subscriber
            std::this_thread::yield();
        }
        m_storm.framework.removeListener(m_handle);
        m_storm.framework.removeListener(m_handle); // a second time: nobody's
        ++m_removals;
        return Afterwards::destroy;
    }

private:
    Storm &m_storm;
    std::atomic<long> &m_removals;
    std::atomic<ListenerHandle> m_handle{0};
};

/// Subscriptions that any thread may end.
class Exchange
{
public:
    explicit Exchange(Storm &storm) : m_storm(storm) {}
    ~Exchange() { expect(m_entries.empty(), "subscriptions are left"); }
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;

    void put(const char *event)
    {
        auto callback = std::make_unique<EventCounter>(m_storm.climate);
        const ListenerHandle handle = m_storm.framework.addListener(event, callback.get());
        expect(handle != 0, "addListener is refused");
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.emplace_back(handle, std::move(callback));
    }

    /// Ends one subscription and frees its callback. \return false when there is none.
    bool endOne(std::uint64_t random)
    {
        std::pair<ListenerHandle, std::unique_ptr<EventCounter>> entry;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_entries.empty()) {
                return false;
            }
            std::swap(m_entries[random % m_entries.size()], m_entries.back());
            entry = std::move(m_entries.back());
            m_entries.pop_back();
        }
        m_storm.framework.removeListener(entry.first);
        m_storm.framework.removeListener(entry.first);
        return true;
    }

private:
    Storm &m_storm;
    std::mutex m_mutex; // guards m_entries
    std::vector<std::pair<ListenerHandle, std::unique_ptr<EventCounter>>> m_entries;
};

/// A listener that ends others from inside its own delivery.
class ReaperListener final : public EventCounter
{
public:
    ReaperListener(Storm &storm, Exchange &exchange, std::atomic<long> &removals)
        : EventCounter(storm.climate), m_exchange(exchange), m_removals(removals)
    {
    }

protected:
    Afterwards receive(const char *text, std::size_t length) override
    {
        m_removals += m_exchange.endOne(static_cast<std::uint64_t>(deliveries()));
        return EventCounter::receive(text, length);
    }

private:
    Exchange &m_exchange;
    std::atomic<long> &m_removals;
};

struct Churn
{
    Churn(Storm &theStorm, const EventCounter &theCounter)
        : storm(theStorm), counter(theCounter), exchange(theStorm)
    {
    }

    Storm &storm;
    const EventCounter &counter;
    Exchange exchange;
    std::atomic<long> own{0};    ///< ended on one of the host's threads
    std::atomic<long> inside{0}; ///< ended inside the own delivery
    std::atomic<long> others{0}; ///< ended inside another delivery
};

void churn(Churn &churn, Budget &budget, std::uint64_t seed)
{
    // So many removals of one thread at most go by without an event.
    constexpr int kRemovalsPerEvent = 16;

    Random random(seed);
    while (budget.take()) {
        if (random.oneIn(kRemovalsPerEvent)) {
            const long seen = churn.counter.deliveries();
            waitFor([&] { return churn.counter.deliveries() != seen; });
        }
        const char *event = kEvents[random.next() % kEventCount];
        if (random.oneIn(8)) {
            // Lives until its event has come, and then ends itself.
            (new EndingListener(churn.storm, churn.inside))->subscribe(event);
            continue;
        }
        churn.exchange.put(event);
        if (!random.oneIn(16)) {
            churn.own += churn.exchange.endOne(random.next());
        }
        churn.storm.framework.removeListener(random.next());
    }
}

void churnOnAllThreads(Churn &theChurn, Budget &budget, const Options &options)
{
    Random random(options.seed);
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(options.threads));
    for (int i = 0; i < options.threads; ++i) {
        threads.emplace_back([&, seed = random.next()] { churn(theChurn, budget, seed); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

} // namespace

void runListeners(const Options &options)
{
    Storm storm;
    start(storm, R"({"initFinishedAfterMs":0})");
    EventCounter counter(storm.climate);
    storm.framework.addListener("account.initFinished", &counter);
    expect(storm.account.waitUntilIdle(10000), "the account library does not come to rest");

    Churn theChurn(storm, counter);
    ReaperListener reaper(storm, theChurn.exchange, theChurn.others);
    storm.framework.addListener("account.cookieUpdated", &reaper);
    const long before = counter.deliveries();
    Budget budget(options);
    Neighbours neighbours(storm, options.seed, &counter);
    churnOnAllThreads(theChurn, budget, options);

    // Every kind of event comes often enough to end what waits for it.
    expect(waitFor([&] {
               theChurn.own += theChurn.exchange.endOne(0);
               return theChurn.own + theChurn.inside + theChurn.others >= budget.taken();
           }),
           "subscriptions do not end");
    const double seconds = budget.seconds();
    neighbours.stop();
    expect(waitFor([&] { return counter.deliveries() - before >= neighbours.raised(); }),
           "a removal has ended somebody else's subscription");
    stop(storm);
    std::printf("listeners: %ld removals on %d threads in %.1f s (%ld inside the own delivery, %ld "
                "inside another), %ld events, %ld broken\n",
                theChurn.own + theChurn.inside + theChurn.others, options.threads, seconds,
                theChurn.inside.load(), theChurn.others.load(), neighbours.events(), brokenCount());
}
