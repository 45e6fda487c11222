#include "library/accounts.h"

#include "library/signing.h"

#include <algorithm>

namespace zefstandin {

namespace {

constexpr int kMostGenerated = 1000000;
constexpr int kMostCodes = 1000; // beyond, all earlier ones expire

QList<Person> personsFromList(const QVariantList &list)
{
    QList<Person> persons;
    for (const QVariant &value : list) {
        persons.append(personFromMap(value.toMap()));
    }
    return persons;
}

} // namespace

Accounts::Accounts()
{
    configure({{"users", QVariantList{QVariantMap{{"userid", "10001"},
                                                  {"nickname", "Ada"},
                                                  {"reg_time", "1600000000"},
                                                  {"login_account_limit", 10}}}}});
}

void Accounts::configure(const QVariantMap &standin)
{
    if (standin.contains("users")) {
        m_users.clear();
        for (const Person &person : personsFromList(standin.value("users").toList())) {
            m_users.insert(person.item.userId, person);
        }
    }
    if (standin.contains("accounts") || standin.contains("generateAccounts")) {
        m_accounts = personsFromList(standin.value("accounts").toList());
        const int generated = std::min(standin.value("generateAccounts").toInt(), kMostGenerated);
        for (int number = 1; number <= generated; ++number) {
            m_accounts.append(generatedPerson(number));
        }
    }
    if (standin.contains("currentUserId")) {
        setCurrent(standin.value("currentUserId").toString());
    }
}

QVariantMap Accounts::description() const
{
    QVariantList accounts;
    for (const Person &account : m_accounts) {
        accounts.append(mapFromPerson(account));
    }
    QVariantList users;
    for (const Person &user : m_users) {
        users.append(mapFromPerson(user));
    }
    return {{"currentUserId", m_currentUserId}, {"accounts", accounts}, {"users", users}};
}

std::shared_ptr<const AccountSnapshot> Accounts::snapshot() const
{
    std::shared_ptr<AccountSnapshot> snapshot(new AccountSnapshot);
    snapshot->currentUserId = m_currentUserId;
    for (const Person &account : m_accounts) {
        snapshot->list.append(account.item);
        if (account.item.userId != m_currentUserId) {
            continue;
        }
        snapshot->isKeepOnline = account.isKeepOnline;
        snapshot->authInfo = authInfoOf(account);
        snapshot->userInfo = userInfoOf(account);
    }
    return snapshot;
}

Person *Accounts::find(const QString &userId)
{
    const auto it = std::find_if(m_accounts.begin(), m_accounts.end(), [&](const Person &account) {
        return account.item.userId == userId;
    });
    return it == m_accounts.end() ? nullptr : &*it;
}

Person *Accounts::target(const QVariantMap &params)
{
    const QString userId = params.value("userId").toString();
    return find(userId.isEmpty() ? m_currentUserId : userId);
}

const Person *Accounts::proven(const QVariantMap &params)
{
    const QString type = params.value("loginType").toString();
    if (type == "ssid") {
        return holderOf(params.value(type).toString(), &Person::ssid);
    }
    if (type == "randcode") {
        return holderOf(params.value(type).toString(), &Person::randcode);
    }
    return takeCode(params.value("authorizeCode").toString(), params.value("userId").toString());
}

std::optional<Person> Accounts::person(const QString &userId) const
{
    for (const Person &account : m_accounts) {
        if (account.item.userId == userId) {
            return account;
        }
    }
    const auto user = m_users.constFind(userId);
    return user == m_users.constEnd() ? std::nullopt : std::optional<Person>(*user);
}

QString Accounts::firstSignedIn() const
{
    for (const Person &account : m_accounts) {
        if (account.item.isLogin) {
            return account.item.userId;
        }
    }
    return {};
}

void Accounts::put(const Person &account)
{
    if (Person *present = find(account.item.userId)) {
        *present = account;
    } else {
        m_accounts.append(account);
    }
}

/// The person stays known to the service.
void Accounts::remove(const QString &userId)
{
    for (int i = m_accounts.size() - 1; i >= 0; --i) {
        if (m_accounts.at(i).item.userId == userId) {
            m_users.insert(userId, m_accounts.takeAt(i));
        }
    }
}

std::vector<const char *> Accounts::setCurrent(const QString &userId)
{
    if (userId == m_currentUserId) {
        return {};
    }

    const Person *before = find(m_currentUserId);
    const Person *after = find(userId);
    std::vector<const char *> changes{"currentAccountChanged", "authInfoChanged",
                                      "userInfoChanged"};
    if ((before ? before->item.companyId : QString()) !=
        (after ? after->item.companyId : QString())) {
        changes.push_back("companyInfoChanged");
    }
    changes.push_back("cookieUpdated");

    m_currentUserId = userId;
    for (Person &account : m_accounts) {
        account.item.isCurrent = account.item.userId == userId;
    }
    return changes;
}

QString Accounts::newCode(const QString &userId)
{
    if (m_codes.size() >= kMostCodes) {
        m_codes.clear();
    }
    const QString code = randomBase64Url(24);
    m_codes.insert(code, userId);
    return code;
}

const Person *Accounts::holderOf(const QString &proof, QString Person::*field) const
{
    if (proof.isEmpty()) {
        return nullptr;
    }
    for (const Person &account : m_accounts) {
        if (account.*field == proof) {
            return &account;
        }
    }
    for (const Person &user : m_users) {
        if (user.*field == proof) {
            return &user;
        }
    }
    return nullptr;
}

/// \param userId when not empty, the code must be this person's.
const Person *Accounts::takeCode(const QString &code, const QString &userId)
{
    const Person *holder = holderOf(code, &Person::authorizeCode);
    if (!holder && m_codes.contains(code)) {
        const QString holderId = m_codes.take(code);
        holder = find(holderId);
        const auto user = m_users.constFind(holderId);
        if (!holder && user != m_users.constEnd()) {
            holder = &*user;
        }
    }
    return holder && (userId.isEmpty() || holder->item.userId == userId) ? holder : nullptr;
}

} // namespace zefstandin
