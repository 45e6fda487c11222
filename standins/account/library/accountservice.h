#pragma once

#include "account/iaccountsdk.h"
#include "library/loginoperations.h"

#include <mutex>
#include <unordered_map>

namespace zefstandin {

/// The accounts behind a lock, and what the account service shows of them. Callable from any
/// thread.
class AccountService final : public IAccount
{
public:
    AccountService();

    void reserved0() override {}
    bool isKeepOnline() override;
    void reserved2() override {}
    const QString &currentUserId() override;
    const AccountAuthInfo &authInfo() override;
    const AccountUserInfo &userInfo() override;
    void reserved6() override {}
    const QList<AccountListItem> &accountList() override;

    /// The accounts, which stay locked as long as the result exists.
    struct Locked
    {
        Accounts *operator->() const { return &accounts; }

        std::unique_lock<std::mutex> lock;
        Accounts &accounts;
    };
    Locked locked() { return {std::unique_lock<std::mutex>(m_mutex), m_accounts}; }

    void configure(const QVariantMap &standin);
    Outcome perform(const QString &operation, const QVariantMap &params);

private:
    using Lock = std::lock_guard<std::mutex>;
    using SnapshotPointer = std::shared_ptr<const AccountSnapshot>;

    const AccountSnapshot &pinned(const char *operation);
    void dropPinsOfEndedThreads();

    std::mutex m_mutex; // guards everything below
    Accounts m_accounts;
    SnapshotPointer m_snapshot;
    // References that were handed out stay valid, also while another thread changes the accounts:
    // each thread that runs keeps the last snapshots that it has seen, by its kernel id.
    std::unordered_map<long, std::vector<SnapshotPointer>> m_pins;
};

} // namespace zefstandin
