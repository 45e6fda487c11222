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
/// QObject children. Other threads reach the members through g_electronApp, inside a RunScope, and
/// test each pointer: one is null when initialize stopped early, and the binding of the account
/// library also before initialize has built it and from the first step of cleanup on.
class ZElectronApplication : public QCoreApplication
{
    Q_OBJECT

public:
    ZElectronApplication(int &argc, char **argv);
    ~ZElectronApplication() override;

    /// Applies the settings and builds the members. On a false result the members built so far
    /// stay.
    [[nodiscard]] bool initialize(const QVariantMap &params);

    /// Runs the event loop until stop() was called, whoever else asks it to end.
    void serve();

    /// Ends serve() as soon as no other event loop and no other event is under way below: the
    /// account library may be waiting in a loop of its own, which gets kLongestNestedLoop to end.
    ///
    /// \param caller the entries of the thread that waits for the end; cleanup does not wait for
    ///               them.
    void stop(const RunFrames &caller);

    /// Takes everything down but the callback registry, which goes with the application.
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
