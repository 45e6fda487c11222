#pragma once

#include "log/closedlibrary.h"

#include <QCoreApplication>
#include <QVariantMap>

#include <atomic>

class ZAccountSdkProxy;
class ZCallbackFuncManager;
class ZEventManager;
class ZMethodDispatcher;

/// The core application of the host thread: settings and long-lived members.
///
/// Lives on the stack of the host thread's function, from init to uninit. It owns its members as
/// QObject children. Other threads access the members through g_electronApp, inside a RunScope, and
/// test each pointer: it is null when initialize stopped early. The binding of the account library
/// is also null before initialize has created it and from refuseOperations on.
class ZElectronApplication : public QCoreApplication
{
    Q_OBJECT

public:
    /// \param accountLibrary becomes the handle of the account library, which is to be unloaded after
    ///                       this object: it may be the parent of objects of that library.
    ZElectronApplication(int &argc, char **argv, ClosedLibrary &accountLibrary);
    ~ZElectronApplication() override;

    /// Applies the settings and creates the members. When it returns false, those created so far
    /// remain.
    [[nodiscard]] bool initialize(const QVariantMap &params);

    /// Runs the event loop until stop(); requests of others to end it are ignored.
    void serve() const;

    // The steps of a shutdown, before serve() returns.

    /// Events that are raised from now on are dropped.
    void ignoreLaterEvents();

    /// Refuses all operations and makes the account library unreachable for deliveries.
    void refuseOperations();

    /// Ends serve() as soon as no other event and no nested event loop is on the stack: the account
    /// library may be waiting in a nested loop, which has kLongestNestedLoop to end.
    void stop();

    /// Deletes all members except the callback registry, which is deleted with the application.
    void cleanup();

    /// Keeps exceptions of event handlers from unwinding through Qt's event loop.
    bool notify(QObject *receiver, QEvent *event) override;

    const QVariantMap &initParams() const { return m_initParams; }
    ZAccountSdkProxy *accountSdkProxy() const { return m_reachableAccountSdkProxy; }
    ZEventManager *eventManager() const { return m_eventManager; }
    ZMethodDispatcher *dispatcher() const { return m_dispatcher; }
    ZCallbackFuncManager *callbackFuncManager() const { return m_callbackFuncManager; }

private:
    void applyInitParams();
    [[nodiscard]] bool checkParamsValid() const;

    ClosedLibrary &m_accountLibrary;
    QVariantMap m_initParams;
    ZAccountSdkProxy *m_accountSdkProxy = nullptr;
    std::atomic<ZAccountSdkProxy *> m_reachableAccountSdkProxy{nullptr}; // the same, for others
    ZEventManager *m_eventManager = nullptr;
    ZMethodDispatcher *m_dispatcher = nullptr;
    ZCallbackFuncManager *m_callbackFuncManager = nullptr;

    bool m_isStopping = false;
};

/// The running application, or null. Set by its constructor, cleared by its destructor.
extern std::atomic<ZElectronApplication *> g_electronApp;
