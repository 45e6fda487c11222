#pragma once

#include "base/run.h"

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
/// is also null before initialize has created it and from the first step of cleanup on.
class ZElectronApplication : public QCoreApplication
{
    Q_OBJECT

public:
    ZElectronApplication(int &argc, char **argv);
    ~ZElectronApplication() override;

    /// Applies the settings and creates the members. When it returns false, those created so far
    /// remain.
    [[nodiscard]] bool initialize(const QVariantMap &params);

    /// Runs the event loop until stop() is called; requests of others to end it are ignored.
    void serve() const;

    /// Ends serve() as soon as no other event and no nested event loop is on the stack: the account
    /// library may be waiting in a nested loop, which has kLongestNestedLoop to end.
    ///
    /// \param caller the entries of the thread that waits for the end; cleanup does not wait for
    ///               them.
    void stop(const RunFrames &caller);

    /// Deletes all members except the callback registry, which is deleted with the application.
    void cleanup();

    /// Keeps exceptions of event handlers from unwinding through Qt's event loop.
    bool notify(QObject *receiver, QEvent *event) override;

    const QVariantMap &initParams() const { return m_initParams; }
    ZAccountSdkProxy *accountSdkProxy() const { return m_accountSdkProxy; }
    ZEventManager *eventManager() const { return m_eventManager; }
    ZMethodDispatcher *dispatcher() const { return m_dispatcher; }
    ZCallbackFuncManager *callbackFuncManager() const { return m_callbackFuncManager; }

private:
    void applyInitParams();
    [[nodiscard]] bool checkParamsValid() const;

    QVariantMap m_initParams;
    std::atomic<ZAccountSdkProxy *> m_accountSdkProxy{nullptr}; // deliveries reach it at any time
    ZEventManager *m_eventManager = nullptr;
    ZMethodDispatcher *m_dispatcher = nullptr;
    ZCallbackFuncManager *m_callbackFuncManager = nullptr;

    bool m_isStopping = false;
    RunFrames m_stopCaller;
};

/// The running application, or null. Set by its constructor, cleared by its destructor.
extern std::atomic<ZElectronApplication *> g_electronApp;
