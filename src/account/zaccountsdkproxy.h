#pragma once

#include <QObject>
#include <QVariantMap>

#include <atomic>
#include <vector>

class IAccountSdk;

/// Binds the closed account library: loads and initialises it, and re-emits its notifications as
/// signals.
///
/// Lives on the host thread and belongs to the application. The signals are emitted on the host
/// thread only, whatever thread the library raised its notification on.
class ZAccountSdkProxy : public QObject
{
    Q_OBJECT

public:
    explicit ZAccountSdkProxy(QObject *parent);

    /// Called once. When it returns false, shutdown undoes the completed steps.
    [[nodiscard]] bool init(const QVariantMap &params);

    /// Un-initialises and unloads the library, as far as init got. Afterwards nothing calls into it
    /// and no event of it arrives.
    void shutdown();

    /// The root interface, owned by the library; null when init did not get it. Any thread.
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
