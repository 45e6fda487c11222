#include "library/accountservice.h"

#include "keeper/keeper.h"

namespace zefstandin {

namespace {

constexpr std::size_t kMostPins = 8;

} // namespace

AccountService::AccountService() : m_snapshot(m_accounts.snapshot()) {}

bool AccountService::isKeepOnline()
{
    return pinned("isKeepOnline").isKeepOnline;
}

const QString &AccountService::currentUserId()
{
    return pinned("currentUserId").currentUserId;
}

const AccountAuthInfo &AccountService::authInfo()
{
    return pinned("authInfo").authInfo;
}

const AccountUserInfo &AccountService::userInfo()
{
    return pinned("userInfo").userInfo;
}

const QList<AccountListItem> &AccountService::accountList()
{
    return pinned("accountList").list;
}

void AccountService::configure(const QVariantMap &standin)
{
    const Lock lock(m_mutex);
    m_accounts.configure(standin);
    m_snapshot = m_accounts.snapshot();
}

QVariantMap AccountService::description() const
{
    const Lock lock(m_mutex);
    return m_accounts.description();
}

QString AccountService::currentUser() const
{
    const Lock lock(m_mutex);
    return m_accounts.currentUserId();
}

std::optional<Person> AccountService::person(const QString &userId) const
{
    const Lock lock(m_mutex);
    return m_accounts.person(userId);
}

QString AccountService::newCode(const QString &userId)
{
    const Lock lock(m_mutex);
    return m_accounts.newCode(userId);
}

Outcome AccountService::perform(const QString &operation, const QVariantMap &params)
{
    const Lock lock(m_mutex);
    const Outcome outcome = performLoginOperation(operation, m_accounts, params);
    if (!outcome.signalNames.empty()) {
        m_snapshot = m_accounts.snapshot();
    }
    return outcome;
}

const AccountSnapshot &AccountService::pinned(const char *operation)
{
    Keeper::instance().recordCall(operation);
    const Lock lock(m_mutex);
    std::vector<SnapshotPointer> &pins = m_pins[std::this_thread::get_id()];
    if (pins.empty() || pins.back() != m_snapshot) {
        if (pins.size() == kMostPins) {
            pins.erase(pins.begin());
        }
        pins.push_back(m_snapshot);
    }
    return *m_snapshot;
}

} // namespace zefstandin
