#include "storm/methods.h"

#include <iterator>
#include <vector>

#define OK R"("result":"ok")"
#define RESULT R"("result":)"
#define OFF_THREAD "not support thread safe"

const Method kMethods[] = {
    {"utils.getLogPath", "{}", Lane::host, RESULT, RESULT, 8},
    {"utils.nothing", "{", Lane::host, "method:nothing asynCall failed", OFF_THREAD, 4},
    {"utils", "[]", Lane::host, "Wrong number of arguments", "Wrong number of arguments", 4},
    {"nowhere.method", "{}", Lane::host, "nowhere not found", "nowhere not found", 4},
    {"accessbase.getDeviceInfo", "{}", Lane::host, OK, OK, 1},
    {"accessbase.getDeviceNetworkStatus", "{}", Lane::host, OK, OK, 1},
    {"accessbase.getDeviceHeader", R"({"deviceCode":{"a":1}})", Lane::host, OK, OK, 1},
    {"accessbase.getDeviceHeader", "{}", Lane::host, "deviceCode is empty", "deviceCode is empty",
     4},
    {"network.updateProxyInfo", R"({"proxyType":0})", Lane::host, OK, OFF_THREAD, 2},
    {"network.setCustomDomain", R"({"a":"b"})", Lane::host, OK, OFF_THREAD, 4},
    {"network.setCustomDomain", "{}", Lane::host, "param is empty", OFF_THREAD, 2},
    {"account.queryWebviewCookies", R"({"url":"https://a.example/"})", Lane::host, RESULT, RESULT,
     4},
    {"account.getJwkPublicKeyStr", "{}", Lane::host, OK, OK, 2},
    {"account.signPopToken", R"({"method":"GET","uri":"https://a.example/","cv":"1"})", Lane::host,
     OK, OK, 1},
    {"account.signPopToken", "{}", Lane::host, "sign failed", "sign failed", 2},
    {"account.signLoginData", R"({"signData":"a"})", Lane::host, OK, OK, 1},
    {"account.generatePKCEParam", "{}", Lane::host, OK, OK, 2},
    {"account.getAccountListInfo", "{}", Lane::host, OK, OK, 2},
    {"account.loginCallback", R"({"bResult":true,"userId":"10001"})", Lane::login, RESULT,
     OFF_THREAD, 2},
    {"account.logout", R"({"reason":"storm"})", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.switchAccount", R"({"userId":"10001"})", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.upgradeAccount", R"({"companyId":"1"})", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.downgradeAccount", "{}", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.updateAccountInfo", R"({"nickname":"n"})", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.getUrlWithAuthorizeCode", R"({"url":"https://a.example/"})", Lane::login, RESULT,
     OFF_THREAD, 1},
    {"account.loginWithSsid", R"({"userId":"10001"})", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.loginWithRandcode", R"({"userId":"10001"})", Lane::login, RESULT, OFF_THREAD, 1},
    {"account.quickLogin", R"({"userId":"10001"})", Lane::quick, RESULT, OFF_THREAD, 2},
    {"account.getOfficeUserInfo", "{}", Lane::office, RESULT, OFF_THREAD, 2},
    {"meeting.changeMeetingStatus", R"({"event":"e","busyType":"b","data":{"a":1}})", Lane::office,
     RESULT, OFF_THREAD, 2},
    {"meeting.changeMeetingStatus", "{}", Lane::host, "event, data or busyType is empty",
     OFF_THREAD, 2},
};

#undef OK
#undef RESULT
#undef OFF_THREAD

const std::size_t kMethodCount = std::size(kMethods);

const Method &chooseMethod(std::size_t random)
{
    static const std::vector<const Method *> wheel = [] {
        std::vector<const Method *> list;
        for (const Method &method : kMethods) {
            list.insert(list.end(), static_cast<std::size_t>(method.weight), &method);
        }
        return list;
    }();
    return *wheel[random % wheel.size()];
}

const char *const kEvents[] = {
    "account.initFinished",    "account.currentAccountChanged", "account.authInfoChanged",
    "account.userInfoChanged", "account.companyInfoChanged",    "account.accountListInfoChanged",
    "account.cookieUpdated",
};
const std::size_t kEventCount = std::size(kEvents);
