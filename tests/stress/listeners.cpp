#include "stress/callbacks.h"
#include "stress/dice.h"
#include "stress/modes.h"
#include "stress/traffic.h"
#include "stress/verdict.h"

#include <cstdio>
#include <mutex>
#include <thread>

using zelectronframeworkspace::ListenerHandle;

namespace {

/// A subscription that its own delivery ends and frees.
class EndingListener final : public Counter
{
public:
    EndingListener(Run &run, std::atomic<long> &removals)
        : Counter(run), m_run(run), m_removals(removals)
    {
    }

    /// The object may be gone when this returns.
    void subscribe(const char *event)
    {
        const ListenerHandle handle = m_run.framework.addListener(event, this);
        expect(handle != 0, "addListener is refused");
        m_handle = handle;
    }

protected:
    Afterwards receive(const std::string &text, std::size_t length) override
    {
        Counter::receive(text, length);
        while (m_handle == 0) { // the event is faster than the subscriber
            std::this_thread::yield();
        }
        m_run.framework.removeListener(m_handle);
        m_run.framework.removeListener(m_handle); // a second time: nobody's
        ++m_removals;
        return Afterwards::destroy;
    }

private:
    Run &m_run;
    std::atomic<long> &m_removals;
    std::atomic<ListenerHandle> m_handle{0};
};

/// Subscriptions that any thread may end.
class Exchange
{
public:
    explicit Exchange(Run &run) : m_run(run) {}
    ~Exchange() { expect(m_entries.empty(), "subscriptions are left"); }
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;

    void put(const char *event)
    {
        auto callback = std::make_unique<Counter>(m_run);
        const ListenerHandle handle = m_run.framework.addListener(event, callback.get());
        expect(handle != 0, "addListener is refused");
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.emplace_back(handle, std::move(callback));
    }

    /// Ends one subscription and frees its callback. \return false when there is none.
    bool endOne(std::uint64_t random)
    {
        std::pair<ListenerHandle, std::unique_ptr<Counter>> entry;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_entries.empty()) {
                return false;
            }
            std::swap(m_entries[random % m_entries.size()], m_entries.back());
            entry = std::move(m_entries.back());
            m_entries.pop_back();
        }
        m_run.framework.removeListener(entry.first);
        m_run.framework.removeListener(entry.first);
        return true;
    }

private:
    Run &m_run;
    std::mutex m_mutex; // guards m_entries
    std::vector<std::pair<ListenerHandle, std::unique_ptr<Counter>>> m_entries;
};

/// A listener that ends others from inside its own delivery.
class RemovingListener final : public Counter
{
public:
    RemovingListener(Run &run, Exchange &exchange, std::atomic<long> &removals)
        : Counter(run), m_exchange(exchange), m_removals(removals)
    {
    }

protected:
    Afterwards receive(const std::string &text, std::size_t length) override
    {
        m_removals += m_exchange.endOne(static_cast<std::uint64_t>(deliveries()));
        return Counter::receive(text, length);
    }

private:
    Exchange &m_exchange;
    std::atomic<long> &m_removals;
};

struct Removals
{
    Removals(Run &theRun, const Counter &theCounter)
        : run(theRun), counter(theCounter), exchange(theRun)
    {
    }

    Run &run;
    const Counter &counter;
    Exchange exchange;
    std::atomic<long> own{0};    ///< ended on one of the host's threads
    std::atomic<long> inside{0}; ///< ended inside the own delivery
    std::atomic<long> others{0}; ///< ended inside another delivery
};

void subscribeAndRemove(Removals &removals, Budget &budget, std::uint64_t seed)
{
    // So many removals of one thread at most go by without an event.
    constexpr int kRemovalsPerEvent = 16;

    Random random(seed);
    while (budget.take()) {
        if (random.oneIn(kRemovalsPerEvent)) {
            const long seen = removals.counter.deliveries();
            waitFor([&] { return removals.counter.deliveries() != seen; });
        }
        const char *event = random.pick(Interface::instance().events).c_str();
        if (random.oneIn(8)) {
            // Lives until its event has come, and then ends itself.
            (new EndingListener(removals.run, removals.inside))->subscribe(event);
            continue;
        }
        removals.exchange.put(event);
        if (!random.oneIn(16)) {
            removals.own += removals.exchange.endOne(random.next());
        }
        removals.run.framework.removeListener(random.next());
    }
}

void removeOnAllThreads(Removals &removals, Budget &budget, const Options &options)
{
    Random random(options.seed);
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(options.threads));
    for (int i = 0; i < options.threads; ++i) {
        threads.emplace_back(
            [&, seed = random.next()] { subscribeAndRemove(removals, budget, seed); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

} // namespace

void runListeners(const Options &options)
{
    Run run;
    run.start(R"({"initFinishedAfterMs":-1})");
    Counter counter(run);
    run.framework.addListener("account.initFinished", &counter);
    expect(run.account.waitUntilIdle(10000), "the account library does not come to rest");

    Removals removals(run, counter);
    RemovingListener remover(run, removals.exchange, removals.others);
    run.framework.addListener("account.cookieUpdated", &remover);
    Budget budget(options);
    TrafficThreads threads(run, options.seed, &counter);
    const Traffic &traffic = threads.traffic();
    removeOnAllThreads(removals, budget, options);

    // Every kind of event comes often enough to end what waits for it.
    expect(waitFor([&] {
               removals.own += removals.exchange.endOne(0);
               return removals.own + removals.inside + removals.others >= budget.taken();
           }),
           "subscriptions do not end");
    const double seconds = budget.seconds();
    threads.stop();
    expect(waitFor([&] { return counter.deliveries() >= traffic.counted(); }),
           "a removal has ended somebody else's subscription");
    run.stop();
    std::printf("listeners: %ld removals on %d threads in %.1f s (%ld inside the own delivery, %ld "
                "inside another), %ld events, %ld broken\n",
                removals.own + removals.inside + removals.others, options.threads, seconds,
                removals.inside.load(), removals.others.load(), traffic.events(), brokenCount());
}
