#pragma once

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
/// QObject children. Other threads reach the members through g_electronApp and test each pointer:
/// one is null before initialize has built it, when initialize stopped early, and from the first
/// step of cleanup on.
class ZElectronApplication : public QCoreApplication
{
    Q_OBJECT

public:
    ZElectronApplication(int &argc, char **argv);
    ~ZElectronApplication() override;

    /// Applies the settings and builds the members. On a false result the members built so far
    /// stay.
    [[nodiscard]] bool initialize(const QVariantMap &params);

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
    std::atomic<ZAccountSdkProxy *> m_accountSdkProxy{nullptr};
    std::atomic<ZEventManager *> m_eventManager{nullptr};
    std::atomic<ZMethodDispatcher *> m_dispatcher{nullptr};
    std::atomic<ZCallbackFuncManager *> m_callbackFuncManager{nullptr};
};

/// The running application, or null. Set by its constructor, cleared by its destructor.
extern std::atomic<ZElectronApplication *> g_electronApp;
