#include "stress/client.h"

#include "stress/verdict.h"

#include <thread>

namespace {

// So many calls of one thread may wait for their replies, so many subscriptions may exist, and so
// many registrations, of which each may bring every message once more.
constexpr std::size_t kOpenCalls = 256;
constexpr std::size_t kSubscriptions = 16;
constexpr int kRegistrations = 4;

} // namespace

Client::Client(Run &run, TaskCounters &tasks)
    : m_run(run), m_tasks(tasks), m_answered(Interface::instance().queueCount)
{
    for (std::size_t i = 0; i < kOpenCalls; ++i) {
        m_answers.push_back(std::make_unique<Answer>(run, m_answered));
    }
}

void Client::step(Dice &dice)
{
    const int choice = dice.below(100);
    if (choice < 55) {
        asynCall(dice);
    } else if (choice < 75) {
        call(dice);
    } else if (choice < 87) {
        addListener(dice);
    } else if (choice < 99) {
        removeListener(dice);
    } else {
        registerCallback(dice);
    }
}

void Client::call(Dice &dice)
{
    const Request &request = dice.pick(Interface::instance().requests);
    const std::string path = dice.foreignText();
    DirectReply reply(m_run);
    expect(m_run.framework.call(path.empty() ? request.path.c_str() : path.c_str(),
                                request.params.c_str(), &reply),
           "call is refused");
    expect(reply.deliveries() == 1, request.path + " was not answered once by call");
    expect(!m_run.isHonest || reply.text().find(request.reply) != std::string::npos,
           request.path + " was answered by call: " + reply.text());
}

void Client::asynCall(Dice &dice)
{
    Answer *answer = freeAnswer(dice);
    if (!answer) {
        return;
    }
    const Request &request = dice.pick(Interface::instance().requests);
    const std::string params = dice.foreignText();
    answer->expectReply(request, ++m_calls);
    if (m_run.framework.asynCall(request.path.c_str(),
                                 params.empty() ? request.params.c_str() : params.c_str(),
                                 answer)) {
        m_run.asynCalls.fetch_add(1, std::memory_order_relaxed);
    } else {
        broken("asynCall is refused");
        answer->expectNothing();
    }
}

/// One that waits for no reply. Without an honest library a reply may never come.
Answer *Client::freeAnswer(Dice &dice)
{
    if (!m_run.isHonest) {
        return dice.pick(m_answers).get();
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

void Client::addListener(Dice &dice)
{
    if (m_subscriptions.size() == kSubscriptions) {
        removeListener(dice);
    }
    const std::string foreign = dice.foreignText();
    const std::string &event = foreign.empty() ? dice.pick(Interface::instance().events) : foreign;
    auto callback = std::make_unique<Counter>(m_run);
    const auto handle = m_run.framework.addListener(event.c_str(), callback.get());
    expect(handle != 0 || !foreign.empty(), "addListener is refused");
    if (handle) {
        m_subscriptions.push_back({handle, std::move(callback)});
        m_run.subscriptions.fetch_add(1, std::memory_order_relaxed);
    }
}

void Client::removeListener(Dice &dice)
{
    m_run.framework.removeListener(dice.next() | 1ULL << 40U); // nobody's
    if (!m_subscriptions.empty()) {
        std::swap(dice.pick(m_subscriptions), m_subscriptions.back());
        removeListeners(m_subscriptions.size() - 1);
    }
}

void Client::removeListeners(std::size_t left)
{
    while (m_subscriptions.size() > left) {
        m_run.framework.removeListener(m_subscriptions.back().handle);
        m_run.framework.removeListener(m_subscriptions.back().handle); // nobody's any more
        m_subscriptions.pop_back();                                    // frees the callback at once
    }
}

void Client::registerCallback(Dice &dice)
{
    const std::string foreign = dice.foreignText();
    expect(!m_run.framework.registerCallbackFunc(foreign.empty() ? "noTask" : foreign.c_str(),
                                                 nullptr),
           "noTask is accepted");
    if (m_registrations < kRegistrations) {
        auto &[type, counter] = dice.pick(m_tasks);
        expect(m_run.framework.registerCallbackFunc(type.c_str(), &counter) || !m_run.isHonest,
               "registerCallbackFunc is refused");
        ++m_registrations;
    }
}

void Client::awaitReplies()
{
    for (const auto &answer : m_answers) {
        if (!waitFor([&] { return !answer->isOpen(); })) {
            broken(answer->request().path + " was never answered");
            return;
        }
    }
}

void Client::expectReplies(const char *deferred)
{
    for (const auto &answer : m_answers) {
        const std::string &path = answer->request().path;
        expect(!answer->isOpen() || path == deferred,
               path + " was not answered before uninit returned");
    }
}

Clients::Clients(Run &run, const Options &options) : tasks(taskCounters(run)), m_seed(options.seed)
{
    for (int i = 0; i < options.threads; ++i) {
        m_clients.push_back(std::make_unique<Client>(run, tasks));
    }
}

void Clients::run(Budget &budget)
{
    Random seeds(m_seed);
    std::vector<std::thread> threads;
    for (const auto &client : m_clients) {
        threads.emplace_back([&client, &budget, seed = seeds.next()] {
            Random random(seed);
            while (budget.take()) {
                client->step(random);
            }
            client->removeListeners(4); // the others are left to uninit
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

void Clients::awaitReplies()
{
    for (const auto &client : m_clients) {
        client->awaitReplies();
    }
}

void Clients::expectReplies(const char *deferred)
{
    for (const auto &client : m_clients) {
        client->expectReplies(deferred);
    }
}
