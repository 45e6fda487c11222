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

template <typename Persons>
QVariantList listFromPersons(const Persons &persons)
{
    QVariantList list;
    for (const Person &person : persons) {
        list.append(mapFromPerson(person));
    }
    return list;
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
    return {{"currentUserId", m_currentUserId},
            {"accounts", listFromPersons(m_accounts)},
            {"users", listFromPersons(m_users)}};
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

/// The first account that fits, else the first person known to the service; null when none does.
template <typename Fits>
const Person *Accounts::first(Fits fits) const
{
    const auto account = std::find_if(m_accounts.begin(), m_accounts.end(), fits);
    if (account != m_accounts.end()) {
        return &*account;
    }
    const auto user = std::find_if(m_users.begin(), m_users.end(), fits);
    return user == m_users.end() ? nullptr : &*user;
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

const Person *Accounts::person(const QString &userId) const
{
    return first([&](const Person &person) { return person.item.userId == userId; });
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
    return first([&](const Person &person) { return !proof.isEmpty() && person.*field == proof; });
}

/// \param userId when not empty, the code must be this person's.
const Person *Accounts::takeCode(const QString &code, const QString &userId)
{
    const Person *holder = holderOf(code, &Person::authorizeCode);
    if (!holder && m_codes.contains(code)) {
        holder = person(m_codes.take(code));
    }
    return holder && (userId.isEmpty() || holder->item.userId == userId) ? holder : nullptr;
}

} // namespace zefstandin
