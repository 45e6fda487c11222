#include "names.h"

namespace zefhost {

const std::vector<Method> &methods()
{
    static const std::vector<Method> all{
        {"utils.getLogPath", true},
        {"account.loginCallback", false},
        {"account.queryWebviewCookies", true},
        {"account.quickLogin", false},
        {"account.getJwkPublicKeyStr", true},
        {"account.signPopToken", true},
        {"account.signLoginData", true},
        {"account.generatePKCEParam", true},
        {"account.logout", false},
        {"account.getAccountListInfo", true},
        {"account.getOfficeUserInfo", false},
        {"account.switchAccount", false},
        {"account.upgradeAccount", false},
        {"account.downgradeAccount", false},
        {"account.updateAccountInfo", false},
        {"account.getUrlWithAuthorizeCode", false},
        {"account.loginWithSsid", false},
        {"account.loginWithRandcode", false},
        {"meeting.changeMeetingStatus", false},
        {"network.updateProxyInfo", false},
        {"network.setCustomDomain", false},
        {"accessbase.getDeviceInfo", true},
        {"accessbase.getDeviceNetworkStatus", true},
        {"accessbase.getDeviceHeader", true},
    };
    return all;
}

const std::vector<std::string> &eventPaths()
{
    static const std::vector<std::string> all{
        "account.initFinished",           "account.currentAccountChanged",
        "account.authInfoChanged",        "account.userInfoChanged",
        "account.companyInfoChanged",     "account.cookieUpdated",
        "account.accountListInfoChanged",
    };
    return all;
}

const std::vector<std::string> &taskTypes()
{
    static const std::vector<std::string> all{"meetingDataChangeTask", "accountInfoCollectTask"};
    return all;
}

} // namespace zefhost
