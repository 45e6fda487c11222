// Sequences of operations of a host, and of what an account library that fails at random does
// meanwhile, over all methods, events and task types, with restarts between them.

#include "input.h"
#include "runninglibrary.h"

#include "zelectronframework/zelectronframework.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <vector>

using zefstandin::MessageContext;
using zefstandin::Thread;
using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::ListenerHandle;

namespace {

// Host and library run on without a restart for so many inputs at most.
constexpr int kInputsPerRun = 200;
constexpr int kStepsPerInput = 64;

const char *const kMethods[] = {
    "utils.getLogPath",
    "network.updateProxyInfo",
    "network.setCustomDomain",
    "meeting.changeMeetingStatus",
    "accessbase.getDeviceInfo",
    "accessbase.getDeviceNetworkStatus",
    "accessbase.getDeviceHeader",
    "account.loginCallback",
    "account.queryWebviewCookies",
    "account.quickLogin",
    "account.getJwkPublicKeyStr",
    "account.signPopToken",
    "account.signLoginData",
    "account.generatePKCEParam",
    "account.logout",
    "account.getAccountListInfo",
    "account.getOfficeUserInfo",
    "account.switchAccount",
    "account.upgradeAccount",
    "account.downgradeAccount",
    "account.updateAccountInfo",
    "account.getUrlWithAuthorizeCode",
    "account.loginWithSsid",
    "account.loginWithRandcode",
};
const char *const kParams[] = {
    "{}",
    R"({"userId":"10001","keepOnline":true,"extParam":{"a":[1,null]}})",
    R"({"event":"e","busyType":"b","data":{"a":1}})",
    R"({"deviceCode":{"a":1,"b":[],"c":null}})",
    R"({"method":"GET","uri":"https://a.example/","cv":"%1","signData":"%2"})",
    R"({"url":"https://a.example/?a=b","companyId":"1","nickname":"\ud800"})",
    R"({"proxyType":2,"proxyHost":"127.0.0.1","proxyPort":1})",
    R"({"bResult":true,"ssid":"ssid-10001","randcode":5,"reason":{}})",
};
const char *const kEvents[] = {"initFinished",    "currentAccountChanged", "authInfoChanged",
                               "userInfoChanged", "companyInfoChanged",    "accountListInfoChanged",
                               "cookieUpdated"};
const char *const kTasks[] = {"meetingDataChangeTask", "accountInfoCollectTask"};
const char *const kMessages[] = {R"({"msgType":"enterMeeting","meetingUrl":"%1"})",
                                 R"({"msgType":"getMeetingStatus"})",
                                 R"({"msgType":"closeMeetingApp","logoutAccount":"maybe"})"};
const char *const kScripts[] = {R"({"refuse":true})",
                                R"({"hold":true})",
                                R"({"times":2,"thread":"caller"})",
                                R"({"times":0})",
                                R"({"statuses":[-1,100,101]})",
                                R"({"reply":{"taskResult":5}})",
                                R"({"throw":"on purpose"})",
                                R"({"dropAtUninit":true})",
                                "{}"};
const char *const kScripted[] = {"getAccount",
                                 "getScheduler",
                                 "getLoginService",
                                 "getSignService",
                                 "getMessageTaskRegistry",
                                 "getInfoCollectHandler",
                                 "loginCallback",
                                 "logout",
                                 "registerCollectCallback",
                                 "signPopToken",
                                 "getDeviceInfo",
                                 "setDomain",
                                 "grantAuthorizeCodeOffice",
                                 "getAuthorizedUserInfoOffice",
                                 "notifyOfficeMsg/enterMeeting",
                                 "notifyOfficeMsg/getMeetingStatus"};
const Thread kThreads[] = {Thread::caller, Thread::library, Thread::host};

// Nothing may arrive outside a run. Set when uninit has returned.
std::atomic<bool> g_isStopped{true};

class Callback final : public IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t length) override
    {
        const std::size_t size = std::strlen(text);
        require(!g_isStopped, "delivered after uninit", text);
        require(size >= 2 && text[0] == '{' && text[size - 1] == '}', "no JSON object", text);
        require(length == 0 || length == size, "a wrong length", text);
        ++count;
    }

    std::atomic<int> count{0};
};

/// One host, from init to uninit. Its callbacks end with it, after uninit.
class Host
{
public:
    Host()
    {
        m_library.start();
        g_isStopped = false;
    }

    ~Host()
    {
        m_library.stop();
        g_isStopped = true;
        m_library.account().releaseAll(Thread::caller); // to nobody
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    void step(Input &input)
    {
        switch (input.below(14)) {
        case 0:
        case 1:
            return call(input);
        case 2:
        case 3:
        case 4:
            return asynCall(input);
        case 5:
            return addListener(input);
        case 6:
            return removeListener(input);
        case 7:
            return registerCallback(input);
        case 8:
            m_library.account().raiseSignal(input.pick(kEvents), input.pick(kThreads));
            return;
        case 9:
            m_library.account().sendMessage(input.pick(kMessages), input.pick(kThreads),
                                            MessageContext(input.below(4)));
            return;
        case 10:
            m_library.account().collect(input.pick(kParams), input.pick(kThreads));
            return;
        case 11:
            m_library.account().setHostile(input.byte());
            return;
        case 12:
            require(m_library.account().script(input.pick(kScripted), input.pick(kScripts)),
                    "no valid script");
            return;
        default:
            m_library.account().releaseAll(input.pick(kThreads));
        }
    }

    void removeListeners()
    {
        for (const auto &subscription : m_subscriptions) {
            m_library.framework().removeListener(subscription.first);
        }
        m_subscriptions.clear();
    }

private:
    static std::string path(Input &input)
    {
        return input.below(8) ? std::string(input.pick(kMethods)) : input.text();
    }

    static std::string params(Input &input)
    {
        return input.below(8) ? std::string(input.pick(kParams)) : input.text();
    }

    void call(Input &input)
    {
        const std::string method = path(input);
        Callback callback;
        require(m_library.framework().call(method.c_str(), params(input).c_str(), &callback),
                "call is refused", method);
        require(callback.count == 1, "not answered once by call", method);
    }

    void asynCall(Input &input)
    {
        const std::string method = path(input);
        m_callbacks.push_back(std::make_unique<Callback>());
        require(m_library.framework().asynCall(method.c_str(), params(input).c_str(),
                                               input.below(8) ? m_callbacks.back().get() : nullptr),
                "asynCall is refused", method);
    }

    void addListener(Input &input)
    {
        const bool isKnown = input.below(8);
        const std::string event =
            isKnown ? std::string("account.") + input.pick(kEvents) : input.text();
        auto callback = std::make_unique<Callback>();
        const ListenerHandle handle =
            m_library.framework().addListener(event.c_str(), callback.get());
        require(handle || !isKnown, "addListener is refused", event);
        if (handle) {
            m_subscriptions.emplace_back(handle, std::move(callback));
        }
    }

    void removeListener(Input &input)
    {
        if (m_subscriptions.empty() || !input.below(4)) {
            m_library.framework().removeListener(input.number() + (1ULL << 32U));
            return;
        }
        std::swap(m_subscriptions[input.byte() % m_subscriptions.size()], m_subscriptions.back());
        m_library.framework().removeListener(m_subscriptions.back().first);
        m_library.framework().removeListener(m_subscriptions.back().first);
        m_subscriptions.pop_back(); // freed at once
    }

    void registerCallback(Input &input)
    {
        const std::string type = input.below(8) ? std::string(input.pick(kTasks)) : input.text();
        m_callbacks.push_back(std::make_unique<Callback>());
        m_library.framework().registerCallbackFunc(type.c_str(), m_callbacks.back().get());
    }

    RunningLibrary &m_library = RunningLibrary::instance();
    std::vector<std::unique_ptr<Callback>> m_callbacks; // alive until uninit has returned
    std::vector<std::pair<ListenerHandle, std::unique_ptr<Callback>>> m_subscriptions;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Host *host = nullptr; // runs on at the end of the process
    static int inputs = 0;

    Input input(data, size);
    const bool isRestart = input.below(16) == 15;
    if (!host || isRestart || ++inputs % kInputsPerRun == 0) {
        delete host;
        host = new Host;
    }
    for (int steps = 0; steps < kStepsPerInput && !input.isAtEnd(); ++steps) {
        if (input.byte() == 255) {
            delete host;
            host = new Host;
        }
        host->step(input);
    }
    host->removeListeners();
    return 0;
}
