#pragma once

#include "log/closedlibrary.h"

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
    /// \param library becomes the handle of the library, which outlives this object: Qt may hold
    ///                objects of the library's classes that are deleted with the application.
    ZAccountSdkProxy(ClosedLibrary &library, QObject *parent);

    /// Called once. When it returns false, shutdown undoes the completed steps.
    [[nodiscard]] bool init(const QVariantMap &params);

    /// From now on no notification of the library arrives, queued ones included.
    void ignoreNotifications();

    /// Un-initialises the library, as far as init got. Afterwards nothing calls into it.
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

    ClosedLibrary &m_libraryHandle;
    bool (*m_initInterface)() = nullptr;
    bool (*m_getInterface)(IAccountSdk **) = nullptr;
    void (*m_uninitInterface)() = nullptr;
    std::atomic<IAccountSdk *> m_sdk{nullptr};
    std::vector<QMetaObject::Connection> m_connections; // from the library's notifier
};
