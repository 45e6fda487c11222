#pragma once

#include "library/accessbase.h"
#include "library/accountservice.h"
#include "library/cookiefactory.h"
#include "library/loginservice.h"
#include "library/messages.h"
#include "library/notifier.h"
#include "library/office.h"
#include "library/signservice.h"
#include "library/worker.h"

namespace zefstandin {

/// Keeps the collect callbacks.
class InfoCollectHandler final : public IInfoCollectHandler
{
public:
    void reserved0() override {}
    bool registerCollectCallback(const CallBackFunc &callback) override;
};

/// Records the domains.
class DomainMgr final : public IDomainMgr
{
public:
    void setDomain(const QString &key, const QString &value) override;
    QVariantMap domains() const;

private:
    mutable std::mutex m_mutex; // guards m_domains
    QVariantMap m_domains;
};

/// Everything between init and uninit of the root interface: state, services and the two threads.
/// Made and deleted on the host thread; everything else callable from any thread.
class Instance final : public LibraryHooks
{
public:
    Instance(const QVariantMap &settings, IZElectronLogProxy *logProxy);

    /// Answers open operations as cancelled, and ends the threads.
    ~Instance();

    bool answersInline() const { return m_answersInline; }

    QObject *notifier() { return m_notifier.get(); }
    QObject *plainNotifier() { return &m_plainNotifier; }

    /// Leaves something of this library on the host thread when it is unloaded: "notifier",
    /// "notifierToDelete", "timer", "child", "functor" or "names"; otherwise nothing.
    void leaveBehind(const QString &what);

    /// Raises a signal on this thread.
    bool raiseNow(const QByteArray &name);

    /// Hostile mode: sends an unrequested signal and message. 0 does nothing.
    void makeNoise(quint64 noise);

    /// Runs \p job here, on \p worker or on the host thread.
    void run(Thread thread, Worker &worker, const std::function<void()> &job);

    bool raiseSignal(const QByteArray &name, Thread thread) override;
    int sendMessage(const QVariantMap &message, Thread thread, MessageContext context) override;
    bool writeLog(const QString &level, const QString &message, Thread thread) override;
    void applyState(const QVariantMap &standin) override;
    QVariantMap state() override;
    bool run(Thread thread, const std::function<void()> &job) override;

    AccountService accounts;
    CookieFactory cookies;
    SignService sign;
    Accessbase accessbase;
    DomainMgr domainMgr;
    InfoCollectHandler infoCollect;
    LoginService login{*this};
    Office office{*this};
    Messages messages{*this};
    Worker accountWorker;
    Worker officeWorker;

private:
    void startTimeline(const QVariantList &timeline);
    void announce();
    void note(const QString &message);

    const QVariantMap m_settings;
    IZElectronLogProxy *const m_logProxy;
    bool m_isLogging = false;
    int m_announceAfterMs = 0;
    std::atomic<bool> m_isAnnounced{false};
    std::atomic<bool> m_answersInline{false};
    std::unique_ptr<Notifier> m_notifier;
    QObject m_plainNotifier;
};

} // namespace zefstandin
