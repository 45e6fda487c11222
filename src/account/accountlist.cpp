#include "account/accountlist.h"

#include "account/accountservices.h"
#include "json/jsonobjecttext.h"

#include <QStringList>

#include <optional>

namespace {

/// What only the entry of the current account carries.
struct CurrentAccount
{
    bool isKeepOnline = false;
    QString registrationTime;
    QString coaId;
};

CurrentAccount currentAccount(IAccount &account)
{
    CurrentAccount current;
    current.isKeepOnline = account.isKeepOnline();
    current.registrationTime = AccountUserInfo(account.userInfo()).registrationTime;
    current.coaId = AccountAuthInfo(account.authInfo()).coaId;
    return current;
}

/// One account's text, keys in ascending order.
QString accountText(JsonObjectText &entry, const AccountListItem &item,
                    const std::optional<CurrentAccount> &current)
{
    entry.add(QLatin1String("avatar_url"), item.avatarUrl);
    if (current) {
        entry.add(QLatin1String("coa_Id"), current->coaId);
    }
    entry.add(QLatin1String("company_custom_domain"), item.companyCustomDomain);
    entry.add(QLatin1String("company_id"), item.companyId);
    entry.add(QLatin1String("company_logo"), item.companyLogo);
    entry.add(QLatin1String("company_name"), item.companyName);
    entry.add(QLatin1String("is_company_account"), item.isCompanyAccount);
    entry.add(QLatin1String("is_current"), item.isCurrent);
    entry.add(QLatin1String("is_login"), item.isLogin);
    if (current) {
        entry.add(QLatin1String("keep_online"), current->isKeepOnline);
    }
    entry.add(QLatin1String("link_text"), item.linkText);
    entry.add(QLatin1String("link_url"), item.linkUrl);
    entry.add(QLatin1String("login_account_limit"), item.loginAccountLimit);
    entry.add(QLatin1String("loginmode"), item.loginMode);
    entry.add(QLatin1String("logout_reason"), item.logoutReason);
    entry.add(QLatin1String("need_tfa"), item.needTfa);
    entry.add(QLatin1String("nickname"), item.nickname);
    entry.add(QLatin1String("reason"), item.reason);
    if (current) {
        entry.add(QLatin1String("reg_time"), current->registrationTime);
    }
    entry.add(QLatin1String("session_status"), item.sessionStatus);
    entry.add(QLatin1String("status"), item.status);
    entry.add(QLatin1String("userid"), item.userId);
    return entry.take();
}

QString noAccountText(JsonObjectText &entry, const AccountAuthInfo &auth)
{
    entry.add(QLatin1String("coa_Id"), auth.coaId);
    entry.add(QLatin1String("company_id"), auth.companyId);
    entry.add(QLatin1String("userid"), auth.userId);
    return entry.take();
}

} // namespace

void replyAccountList(const CallBackFunc &callback)
{
    IAccount *account =
        serviceOrReply(&IAccountSdk::getAccount, QStringLiteral("account is nullptr"), callback);
    if (!account) {
        return;
    }

    const QList<AccountListItem> accounts = account->accountList();
    JsonObjectText entry;
    QStringList texts;
    texts.reserve(accounts.size());
    for (const AccountListItem &item : accounts) {
        std::optional<CurrentAccount> current;
        if (account->currentUserId() == item.userId) {
            current = currentAccount(*account);
        }
        texts.append(accountText(entry, item, current));
    }
    if (accounts.isEmpty()) {
        texts.append(noAccountText(entry, AccountAuthInfo(account->authInfo())));
    }
    replySuccess(callback, {{QStringLiteral("accountListInfo"), texts}});
}
