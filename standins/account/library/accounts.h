#pragma once

#include "library/person.h"

#include <QHash>
#include <QList>

#include <memory>
#include <vector>

namespace zefstandin {

/// The account records at one moment. Never changed once it is published.
struct AccountSnapshot
{
    QString currentUserId;
    bool isKeepOnline = false;
    AccountAuthInfo authInfo;
    AccountUserInfo userInfo;
    QList<AccountListItem> list;
};

/// The accounts on this machine, and the persons whom the account service knows. Not guarded.
class Accounts
{
public:
    Accounts();

    /// Takes "users", "accounts", "generateAccounts" and "currentUserId" of a "standin" object.
    void configure(const QVariantMap &standin);

    QVariantMap description() const;
    std::shared_ptr<const AccountSnapshot> snapshot() const;
    const QString &currentUserId() const { return m_currentUserId; }

    /// Among the accounts; null when there is none.
    Person *find(const QString &userId);

    /// The account that "userId" names, else the current one; may be null.
    Person *target(const QVariantMap &params);

    /// The account or person whose "ssid", "randcode" or "authorizeCode" the parameters hold, as
    /// "loginType" says; null when no person matches. An issued code is valid once.
    const Person *proven(const QVariantMap &params);

    /// Among the accounts and the persons known to the service; null when there is none.
    const Person *person(const QString &userId) const;

    /// The first account that is signed in; empty when there is none.
    QString firstSignedIn() const;

    void put(const Person &account);
    void remove(const QString &userId);

    /// \return the signals that this implies, none when nothing changes.
    std::vector<const char *> setCurrent(const QString &userId);

    /// A new code that identifies the person once.
    QString newCode(const QString &userId);

private:
    template <typename Fits>
    const Person *first(Fits fits) const;
    const Person *holderOf(const QString &proof, QString Person::*field) const;
    const Person *takeCode(const QString &code, const QString &userId);

    QList<Person> m_accounts;
    QHash<QString, Person> m_users;
    QString m_currentUserId;
    QHash<QString, QString> m_codes; // codes not yet used, to their user ids
};

} // namespace zefstandin
