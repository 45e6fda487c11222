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
    if (type.isEmpty() && !params.value("bResult").toBool()) {
        return {failReply("no authorization"), {}};
    }
    if (!type.isEmpty() && type != "ssid" && type != "randcode") {
        return {failReply("loginType not supported"), {}};
    }
    const Person *known = accounts.proven(params);
    if (!known) {
        return {failReply("sign-in refused"), {}};
    }

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
    if (!account.item.isLogin) {
        return {failReply(kNobody), {}};
    }

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
    if (userId.isEmpty()) {
        return {failReply("userId is empty"), {}};
    }
    const Person *account = accounts.find(userId);
    if (!account) {
        return {failReply(kUserUnknown), {}};
    }
    if (!account->item.isLogin) {
        return {failReply(kNobody), {}};
    }

    std::vector<const char *> changes = accounts.setCurrent(userId);
    if (!changes.empty()) {
        changes.push_back("accountListInfoChanged");
    }
    return {okReply({{"userId", userId}}), changes};
}

Outcome upgrade(Accounts &, Person &account, const QVariantMap &params)
{
    const QString companyId = params.value("companyId").toString();
    if (companyId.isEmpty()) {
        return {failReply("companyId is empty"), {}};
    }
    if (account.item.isCompanyAccount) {
        return {failReply("already a company account"), {}};
    }

    setCompany(account.item, companyId, params.value("companyName").toString());
    const QString userId = account.item.userId;
    return {okReply({{"userId", userId}, {"companyId", companyId}}),
            {"companyInfoChanged", "authInfoChanged", "accountListInfoChanged"}};
}

Outcome downgrade(Accounts &, Person &account, const QVariantMap &)
{
    if (!account.item.isCompanyAccount) {
        return {failReply("not a company account"), {}};
    }

    setCompany(account.item, {}, {});
    const QString userId = account.item.userId;
    return {okReply({{"userId", userId}}),
            {"companyInfoChanged", "authInfoChanged", "accountListInfoChanged"}};
}

Outcome update(Accounts &, Person &account, const QVariantMap &params)
{
    if (!params.contains("nickname") && !params.contains("avatarUrl")) {
        return {failReply("nothing to update"), {}};
    }

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
    if (!url.isValid() || url.host().isEmpty() || !url.scheme().startsWith("http")) {
        return {failReply("url is not valid"), {}};
    }
    if (accounts.currentUserId().isEmpty()) {
        return {failReply(kNobody), {}};
    }

    QUrlQuery query(url);
    query.removeAllQueryItems("authorizeCode");
    query.addQueryItem("authorizeCode", accounts.newCode(accounts.currentUserId()));
    url.setQuery(query);
    return {okReply({{"url", url.toString(QUrl::FullyEncoded)}}), {}};
}

} // namespace

QVariantMap okReply(const QVariantMap &data)
{
    QVariantMap reply{{"result", "ok"}, {"msg", "success"}};
    if (!data.isEmpty()) {
        reply.insert("data", data);
    }
    return reply;
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
    const auto entry = std::find_if(std::begin(kOperations), std::end(kOperations),
                                    [&](const auto &known) { return operation == known.name; });
    if (entry == std::end(kOperations)) {
        return {failReply("unknown operation"), {}};
    }
    if (const auto *function = std::get_if<Operation>(&entry->function)) {
        return (*function)(accounts, params);
    }
    Person *account = accounts.target(params);
    if (!account) {
        return {failReply(userIdOf(params).isEmpty() ? kNobody : kUserUnknown), {}};
    }
    return std::get<AccountOperation>(entry->function)(accounts, *account, params);
}

} // namespace zefstandin
