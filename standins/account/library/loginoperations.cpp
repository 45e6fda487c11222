#include "library/loginoperations.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <iterator>
#include <variant>

namespace zefstandin {

namespace {

const char *const kUserUnknown = "account not found";
const char *const kNobody = "not signed in";

/// Why an operation is refused.
struct Refusal
{
    const char *reason;
};

/// Ends the operation with a "fail" reply.
void refuseIf(bool isRefused, const char *reason)
{
    if (isRefused) {
        throw Refusal{reason};
    }
}

QString userIdOf(const QVariantMap &params)
{
    return params.value("userId").toString();
}

void setCompany(AccountListItem &item, const QString &id, const QString &name)
{
    item.isCompanyAccount = !id.isEmpty();
    item.companyId = id;
    item.companyName = name;
}

Outcome signIn(Accounts &accounts, const QVariantMap &params)
{
    const QString type = params.value("loginType").toString();
    refuseIf(type.isEmpty() && !params.value("bResult").toBool(), "no authorization");
    refuseIf(!type.isEmpty() && type != "ssid" && type != "randcode", "loginType not supported");
    const Person *known = accounts.proven(params);
    refuseIf(!known, "sign-in refused");

    Person account = *known; // the pointer may be into the list that changes now
    account.item.isLogin = true;
    account.item.status = "normal";
    account.item.sessionStatus = "online";
    account.item.loginMode = type.isEmpty() ? QString("office") : type;
    account.item.logoutReason.clear();
    account.isKeepOnline = params.value("keepOnline").toBool();
    accounts.put(account);

    std::vector<const char *> changes = accounts.setCurrent(account.item.userId);
    if (changes.empty()) { // signed in again: new session, same person
        changes = {"authInfoChanged", "userInfoChanged", "cookieUpdated"};
    }
    changes.push_back("accountListInfoChanged");
    return {okReply({{"userId", account.item.userId},
                     {"nickname", account.item.nickname},
                     {"keepOnline", account.isKeepOnline}}),
            changes};
}

Outcome signOut(Accounts &accounts, Person &account, const QVariantMap &params)
{
    refuseIf(!account.item.isLogin, kNobody);

    const QString userId = account.item.userId;
    account.item.isLogin = false;
    account.item.sessionStatus = "offline";
    account.item.logoutReason = params.value("reason", "user").toString();
    if (params.value("removeAccount").toBool()) {
        accounts.remove(userId);
    }

    std::vector<const char *> changes;
    if (userId == accounts.currentUserId()) {
        changes = accounts.setCurrent(accounts.firstSignedIn());
    }
    changes.push_back("accountListInfoChanged");
    return {okReply({{"userId", userId}, {"currentUserId", accounts.currentUserId()}}), changes};
}

Outcome switchTo(Accounts &accounts, const QVariantMap &params)
{
    const QString userId = userIdOf(params);
    refuseIf(userId.isEmpty(), "userId is empty");
    const Person *account = accounts.find(userId);
    refuseIf(!account, kUserUnknown);
    refuseIf(!account->item.isLogin, kNobody);

    std::vector<const char *> changes = accounts.setCurrent(userId);
    if (!changes.empty()) {
        changes.push_back("accountListInfoChanged");
    }
    return {okReply({{"userId", userId}}), changes};
}

Outcome upgrade(Accounts &, Person &account, const QVariantMap &params)
{
    const QString companyId = params.value("companyId").toString();
    refuseIf(companyId.isEmpty(), "companyId is empty");
    refuseIf(account.item.isCompanyAccount, "already a company account");

    setCompany(account.item, companyId, params.value("companyName").toString());
    const QString userId = account.item.userId;
    return {okReply({{"userId", userId}, {"companyId", companyId}}),
            {"companyInfoChanged", "authInfoChanged", "accountListInfoChanged"}};
}

Outcome downgrade(Accounts &, Person &account, const QVariantMap &)
{
    refuseIf(!account.item.isCompanyAccount, "not a company account");

    setCompany(account.item, {}, {});
    const QString userId = account.item.userId;
    return {okReply({{"userId", userId}}),
            {"companyInfoChanged", "authInfoChanged", "accountListInfoChanged"}};
}

Outcome update(Accounts &, Person &account, const QVariantMap &params)
{
    refuseIf(!params.contains("nickname") && !params.contains("avatarUrl"), "nothing to update");

    AccountListItem &item = account.item;
    item.nickname = params.value("nickname", item.nickname).toString();
    item.avatarUrl = params.value("avatarUrl", item.avatarUrl).toString();
    const QVariantMap data{
        {"userId", item.userId}, {"nickname", item.nickname}, {"avatarUrl", item.avatarUrl}};
    return {okReply(data), {"userInfoChanged", "accountListInfoChanged"}};
}

Outcome urlWithAuthorizeCode(Accounts &accounts, const QVariantMap &params)
{
    QUrl url(params.value("url").toString(), QUrl::StrictMode);
    refuseIf(!url.isValid() || url.host().isEmpty() || !url.scheme().startsWith("http"),
             "url is not valid");
    refuseIf(accounts.currentUserId().isEmpty(), kNobody);

    QUrlQuery query(url);
    query.removeAllQueryItems("authorizeCode");
    query.addQueryItem("authorizeCode", accounts.newCode(accounts.currentUserId()));
    url.setQuery(query);
    return {okReply({{"url", url.toString(QUrl::FullyEncoded)}}), {}};
}

} // namespace

QVariantMap okReply(const QVariantMap &data)
{
    return {{"result", "ok"}, {"msg", "success"}, {"data", data}};
}

QVariantMap failReply(const QString &message)
{
    return {{"result", "fail"}, {"msg", message}};
}

Outcome performLoginOperation(const QString &operation, Accounts &accounts,
                              const QVariantMap &params)
{
    using Operation = Outcome (*)(Accounts &, const QVariantMap &);
    using AccountOperation = Outcome (*)(Accounts &, Person &, const QVariantMap &);
    static const struct
    {
        const char *name;
        std::variant<Operation, AccountOperation> function;
    } kOperations[] = {{"loginCallback", signIn},
                       {"logout", signOut},
                       {"switchAccount", switchTo},
                       {"upgradeAccount", upgrade},
                       {"downgradeAccount", downgrade},
                       {"updateAccountInfo", update},
                       {"getUrlWithAuthorizeCode", urlWithAuthorizeCode}};
    const auto &function =
        std::find_if(std::begin(kOperations), std::end(kOperations), [&](const auto &known) {
            return operation == known.name;
        })->function;
    try {
        if (const auto *anyAccount = std::get_if<Operation>(&function)) {
            return (*anyAccount)(accounts, params);
        }
        Person *account = accounts.target(params);
        refuseIf(!account, userIdOf(params).isEmpty() ? kNobody : kUserUnknown);
        return std::get<AccountOperation>(function)(accounts, *account, params);
    } catch (const Refusal &refusal) {
        return {failReply(refusal.reason), {}};
    }
}

} // namespace zefstandin
