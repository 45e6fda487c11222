#include "storm/hostthread.h"

#include "storm/verdict.h"

#include <cstring>
#include <thread>

namespace {

// So many calls of one thread may wait for their replies, so many subscriptions may exist.
constexpr std::size_t kOpenCalls = 256;
constexpr std::size_t kSubscriptions = 16;

} // namespace

HostThread::HostThread(Storm &storm, std::uint64_t seed) : m_storm(storm), m_random(seed)
{
    for (std::size_t i = 0; i < kOpenCalls; ++i) {
        m_answers.push_back(std::make_unique<Answer>(storm.climate, m_answered));
    }
}

void HostThread::run(Budget &budget)
{
    while (budget.take()) {
        runOne();
    }
    while (!m_subscriptions.empty() && m_random.below(4)) {
        removeListener(); // the others are left to uninit
    }
}

void HostThread::runOne()
{
    const int dice = m_random.below(100);
    if (dice < 55) {
        asynCall();
    } else if (dice < 75) {
        call();
    } else if (dice < 87) {
        addListener();
    } else if (dice < 99) {
        removeListener();
    } else {
        registerCallback();
    }
}

void HostThread::call()
{
    const Method &method = chooseMethod(m_random.next());
    DirectReply reply(m_storm.climate);
    expect(m_storm.framework.call(method.path, method.params, &reply), "call is refused");
    expect(reply.deliveries() == 1, std::string(method.path) + " was not answered once by call");
    expect(!m_storm.climate.isHonest || reply.text().find(method.reply) != std::string::npos,
           std::string(method.path) + " was answered by call: " + reply.text());
}

void HostThread::asynCall()
{
    Answer *answer = freeAnswer();
    if (!answer) {
        return;
    }
    const Method &method = chooseMethod(m_random.next());
    answer->expectReply(method, ++m_calls);
    if (m_storm.framework.asynCall(method.path, method.params, answer)) {
        m_storm.asynCalls.fetch_add(1, std::memory_order_relaxed);
    } else {
        broken("asynCall is refused");
        answer->expectNothing();
    }
}

/// One that waits for no reply. Without an honest library a reply may never come.
Answer *HostThread::freeAnswer()
{
    if (!m_storm.climate.isHonest) {
        return m_answers[m_random.next() % kOpenCalls].get();
    }
    Answer *free = nullptr;
    const auto search = [&] {
        for (std::size_t i = 0; i < kOpenCalls && !free; ++i) {
            Answer *answer = m_answers[(static_cast<std::size_t>(m_calls) + i) % kOpenCalls].get();
            free = answer->isOpen() ? nullptr : answer;
        }
        return free != nullptr;
    };
    expect(waitFor(search), "the replies of one thread do not come");
    return free;
}

void HostThread::addListener()
{
    if (m_subscriptions.size() == kSubscriptions) {
        removeListener();
    }
    auto callback = std::make_unique<EventCounter>(m_storm.climate);
    const auto handle =
        m_storm.framework.addListener(kEvents[m_random.next() % kEventCount], callback.get());
    expect(handle != 0, "addListener is refused");
    m_subscriptions.push_back({handle, std::move(callback)});
    m_storm.subscriptions.fetch_add(1, std::memory_order_relaxed);
}

void HostThread::removeListener()
{
    m_storm.framework.removeListener(m_random.next()); // nobody's
    if (m_subscriptions.empty()) {
        return;
    }
    const std::size_t index = m_random.next() % m_subscriptions.size();
    std::swap(m_subscriptions[index], m_subscriptions.back());
    m_storm.framework.removeListener(m_subscriptions.back().handle);
    m_subscriptions.pop_back(); // frees the callback at once
}

void HostThread::registerCallback()
{
    // A later registration of the first type changes nothing; the second type takes any number.
    expect(m_storm.framework.registerCallbackFunc("meetingDataChangeTask",
                                                  m_storm.tasks.front().get()),
           "registerCallbackFunc is refused");
    if (m_storm.climate.isHonest && m_random.oneIn(64)) {
        expect(m_storm.framework.registerCallbackFunc("accountInfoCollectTask",
                                                      m_storm.tasks.back().get()),
               "registerCallbackFunc is refused");
    }
    expect(!m_storm.framework.registerCallbackFunc("noTask", nullptr), "noTask is accepted");
}

void HostThread::awaitReplies()
{
    for (const auto &answer : m_answers) {
        if (!waitFor([&] { return !answer->isOpen(); })) {
            broken(std::string(answer->method().path) + " was never answered");
            return;
        }
    }
}

void HostThread::expectReplies(const char *held)
{
    for (const auto &answer : m_answers) {
        const char *path = answer->method().path;
        expect(!answer->isOpen() || (held && !std::strcmp(path, held)),
               std::string(path) + " was not answered before uninit returned");
    }
}

Host::Host(Storm &storm, const Options &options)
{
    Random random(options.seed);
    for (int i = 0; i < options.threads; ++i) {
        m_threads.push_back(std::make_unique<HostThread>(storm, random.next()));
    }
}

void Host::run(Budget &budget)
{
    std::vector<std::thread> threads;
    for (const auto &thread : m_threads) {
        threads.emplace_back([&] { thread->run(budget); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

void Host::awaitReplies()
{
    for (const auto &thread : m_threads) {
        thread->awaitReplies();
    }
}

void Host::expectReplies(const char *held)
{
    for (const auto &thread : m_threads) {
        thread->expectReplies(held);
    }
}
