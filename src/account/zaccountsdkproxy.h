#pragma once

#include <QObject>
#include <QVariantMap>

#include <atomic>
#include <vector>

class IAccountSdk;

/// Binds the closed account library: loads and initialises it, and repeats its notifications as
/// signals of its own.
///
/// Lives on the host thread and belongs to the application. The signals are emitted on the host
/// thread only, whatever thread the library raised its notification on.
class ZAccountSdkProxy : public QObject
{
    Q_OBJECT

public:
    explicit ZAccountSdkProxy(QObject *parent);

    /// Called once. On a false result, what was reached stays for shutdown.
    [[nodiscard]] bool init(const QVariantMap &params);

    /// Ends and unloads the library, as far as init came. No event of it arrives any more, and
    /// nothing calls into it afterwards.
    void shutdown();

    /// The root interface, owned by the library; null when it was not reached. Any thread.
    IAccountSdk *sdk() const { return m_sdk; }

Q_SIGNALS:
    void initFinished();
    void currentAccountChanged();
    void authInfoChanged();
    void userInfoChanged();
    void companyInfoChanged();
    void accountListInfoChanged();
    void cookieUpdated();

private:
    bool load();
    void connectNotifier();

    void *m_libraryHandle = nullptr;
    bool (*m_initInterface)() = nullptr;
    bool (*m_getInterface)(IAccountSdk **) = nullptr;
    void (*m_uninitInterface)() = nullptr;
    std::atomic<IAccountSdk *> m_sdk{nullptr};
    std::vector<QMetaObject::Connection> m_connections; // from the library's notifier
};
