#include "library/accountservice.h"

#include "keeper/keeper.h"

#include <iterator>

#include <sys/syscall.h>
#include <unistd.h>

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
    // Once for each thread: the system call costs as much as writing an account.
    thread_local const long thread = syscall(SYS_gettid);
    const Lock lock(m_mutex);
    if (!m_pins.count(thread)) {
        dropPinsOfEndedThreads();
    }
    std::vector<SnapshotPointer> &pins = m_pins[thread];
    if (pins.empty() || pins.back() != m_snapshot) {
        if (pins.size() == kMostPins) {
            pins.erase(pins.begin());
        }
        pins.push_back(m_snapshot);
    }
    return *m_snapshot;
}

void AccountService::dropPinsOfEndedThreads()
{
    for (auto pins = m_pins.begin(); pins != m_pins.end();) {
        const bool hasEnded = syscall(SYS_tgkill, getpid(), pins->first, 0) != 0;
        pins = hasEnded ? m_pins.erase(pins) : std::next(pins);
    }
}

} // namespace zefstandin
