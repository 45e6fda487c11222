#include "account/accountlist.h"

#include "account/accountservices.h"
#include "json/jsonobjecttexts.h"

#include <cstring>
#include <optional>

namespace {

/// Members of the current account's entry only.
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

/// Keys in ascending order.
void addAccount(JsonObjectTexts &texts, const AccountListItem &item,
                const std::optional<CurrentAccount> &current)
{
    texts.add(QLatin1String("avatar_url"), item.avatarUrl);
    if (current) {
        texts.add(QLatin1String("coa_Id"), current->coaId);
    }
    texts.add(QLatin1String("company_custom_domain"), item.companyCustomDomain);
    texts.add(QLatin1String("company_id"), item.companyId);
    texts.add(QLatin1String("company_logo"), item.companyLogo);
    texts.add(QLatin1String("company_name"), item.companyName);
    texts.add(QLatin1String("is_company_account"), item.isCompanyAccount);
    texts.add(QLatin1String("is_current"), item.isCurrent);
    texts.add(QLatin1String("is_login"), item.isLogin);
    if (current) {
        texts.add(QLatin1String("keep_online"), current->isKeepOnline);
    }
    texts.add(QLatin1String("link_text"), item.linkText);
    texts.add(QLatin1String("link_url"), item.linkUrl);
    texts.add(QLatin1String("login_account_limit"), item.loginAccountLimit);
    texts.add(QLatin1String("loginmode"), item.loginMode);
    texts.add(QLatin1String("logout_reason"), item.logoutReason);
    texts.add(QLatin1String("need_tfa"), item.needTfa);
    texts.add(QLatin1String("nickname"), item.nickname);
    texts.add(QLatin1String("reason"), item.reason);
    if (current) {
        texts.add(QLatin1String("reg_time"), current->registrationTime);
    }
    texts.add(QLatin1String("session_status"), item.sessionStatus);
    texts.add(QLatin1String("status"), item.status);
    texts.add(QLatin1String("userid"), item.userId);
    texts.endObject();
}

constexpr int kCacheLine = 64;

/// Begins to fetch the texts of the next account. Those of a long list are not in the caches, and to
/// wait for each as it comes takes longer than to write them.
void prefetch(const AccountListItem &item)
{
    // A QString is one pointer, to its length and characters; no member of it may be read yet.
    for (auto at = offsetof(AccountListItem, userId); at < sizeof item; at += sizeof(QString)) {
        const void *text = nullptr;
        std::memcpy(&text, reinterpret_cast<const char *>(&item) + at, sizeof text);
        // Two cache lines: the length with the first 20 characters, and the next 32.
        __builtin_prefetch(text);
        __builtin_prefetch(static_cast<const char *>(text) + kCacheLine);
    }
}

void addNoAccount(JsonObjectTexts &texts, const AccountAuthInfo &auth)
{
    texts.add(QLatin1String("coa_Id"), auth.coaId);
    texts.add(QLatin1String("company_id"), auth.companyId);
    texts.add(QLatin1String("userid"), auth.userId);
    texts.endObject();
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
    JsonObjectTexts texts;
    for (auto item = accounts.begin(); item != accounts.end(); ++item) {
        if (item + 1 != accounts.end()) {
            prefetch(*(item + 1));
        }
        std::optional<CurrentAccount> current;
        if (account->currentUserId() == item->userId) {
            current = currentAccount(*account);
        }
        addAccount(texts, *item, current);
    }
    if (accounts.isEmpty()) {
        addNoAccount(texts, AccountAuthInfo(account->authInfo()));
    }
    replySuccess(callback, {{QStringLiteral("accountListInfo"), texts.take().toVariant()}});
}
