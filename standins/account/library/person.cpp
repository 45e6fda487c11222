#include "library/person.h"

#include <cstring>
#include <utility>

namespace zefstandin {

namespace {

const std::pair<const char *, bool AccountListItem::*> kFlags[] = {
    {"is_company_account", &AccountListItem::isCompanyAccount},
    {"is_current", &AccountListItem::isCurrent},
    {"is_login", &AccountListItem::isLogin},
    {"need_tfa", &AccountListItem::needTfa}};

const std::pair<const char *, QString AccountListItem::*> kTexts[] = {
    {"userid", &AccountListItem::userId},
    {"nickname", &AccountListItem::nickname},
    {"avatar_url", &AccountListItem::avatarUrl},
    {"company_id", &AccountListItem::companyId},
    {"company_name", &AccountListItem::companyName},
    {"company_logo", &AccountListItem::companyLogo},
    {"company_custom_domain", &AccountListItem::companyCustomDomain},
    {"status", &AccountListItem::status},
    {"session_status", &AccountListItem::sessionStatus},
    {"reason", &AccountListItem::reason},
    {"loginmode", &AccountListItem::loginMode},
    {"logout_reason", &AccountListItem::logoutReason},
    {"link_text", &AccountListItem::linkText},
    {"link_url", &AccountListItem::linkUrl}};

/// Recognisable, so that a test notices when the wrong field is read.
void fillUnread(QString *texts, int count, const QString &name)
{
    for (int i = 0; i < count; ++i) {
        texts[i] = "unread-" + name + '-' + QString::number(i);
    }
}

} // namespace

Person personFromMap(const QVariantMap &map)
{
    Person person;
    for (const auto &[key, flag] : kFlags) {
        person.item.*flag = map.value(key).toBool();
    }
    for (const auto &[key, text] : kTexts) {
        person.item.*text = map.value(key).toString();
    }
    person.item.loginAccountLimit = map.value("login_account_limit").toInt();

    const QString &id = person.item.userId;
    person.ssid = map.value("ssid", "ssid-" + id).toString();
    person.randcode = map.value("randcode", "randcode-" + id).toString();
    person.authorizeCode = map.value("authorizeCode", "code-" + id).toString();
    person.coaId = map.value("coa_Id", "coa-" + id).toString();
    person.registrationTime = map.value("reg_time").toString();
    person.isKeepOnline = map.value("keep_online").toBool();
    return person;
}

QVariantMap mapFromPerson(const Person &person)
{
    QVariantMap map{{"login_account_limit", person.item.loginAccountLimit},
                    {"coa_Id", person.coaId},
                    {"reg_time", person.registrationTime},
                    {"keep_online", person.isKeepOnline},
                    {"ssid", person.ssid},
                    {"randcode", person.randcode},
                    {"authorizeCode", person.authorizeCode}};
    for (const auto &[key, flag] : kFlags) {
        map.insert(key, person.item.*flag);
    }
    for (const auto &[key, text] : kTexts) {
        map.insert(key, person.item.*text);
    }
    return map;
}

AccountAuthInfo authInfoOf(const Person &person)
{
    AccountAuthInfo info;
    std::memset(info.unreadPlain, 0xa5, sizeof info.unreadPlain);
    info.unreadTime1 = QDateTime::fromSecsSinceEpoch(1600000000);
    info.unreadTime2 = info.unreadTime1.addDays(30);
    info.userId = person.item.userId;
    fillUnread(info.unreadText1, 4, "auth");
    info.companyId = person.item.companyId;
    fillUnread(info.unreadText2, 3, "auth-company");
    info.coaId = person.coaId;
    info.unreadExtra = {{"loginmode", person.item.loginMode}};
    return info;
}

AccountUserInfo userInfoOf(const Person &person)
{
    AccountUserInfo info;
    std::memset(info.unreadPlain, 0x5a, sizeof info.unreadPlain);
    fillUnread(info.unreadText1, 12, "user");
    info.unreadList = QStringList{"unread-role"};
    fillUnread(info.unreadText2, 3, "user-contact");
    info.registrationTime = person.registrationTime;
    fillUnread(info.unreadText3, 6, "user-company");
    return info;
}

Person generatedPerson(int number)
{
    const QString text = QString::number(number);
    return personFromMap(
        {{"userid", "user-" + text},
         {"nickname", QStringLiteral("\u738b\u5c0f\u660e ") + text},
         {"avatar_url", "https://account.example.com/avatar/" + text + "?size=180x180"},
         {"company_id", "company-" + text},
         {"company_name", QStringLiteral("\u4e5d\u5dde\u7530\u4e2d\u88fd\u4f5c\u6240 ") + text},
         {"company_logo", "https://account.example.com/logo/" + text + ".png"},
         {"company_custom_domain", "company-" + text + ".example.com"},
         {"is_company_account", true},
         {"is_login", true},
         {"status", "normal"},
         {"session_status", "online"},
         {"loginmode", "generated"},
         {"link_text", QStringLiteral("D\u00e9tails")},
         {"link_url", "https://account.example.com/details/" + text},
         {"reg_time", "1600000000"},
         {"login_account_limit", 10}});
}

} // namespace zefstandin
