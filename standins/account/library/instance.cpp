#include "library/instance.h"

#include "jsontext.h"
#include "keeper/delivery.h"

namespace zefstandin {

namespace {

constexpr int kAnnounceMilliseconds = 50;

using LogFunction = void (IZElectronLogProxy::*)(const std::wstring &, const std::wstring &);

LogFunction logFunction(const QString &level)
{
    if (level == "info") {
        return &IZElectronLogProxy::info;
    }
    if (level == "warning") {
        return &IZElectronLogProxy::warning;
    }
    return level == "error" ? &IZElectronLogProxy::error : nullptr;
}

/// The settings' "standin" object with what the control has laid over it.
QVariantMap effectiveStandin(const QVariantMap &settings)
{
    QVariantMap standin = settings.value("standin").toMap();
    const QVariantMap overlay = Keeper::instance().overlay();
    for (auto it = overlay.cbegin(); it != overlay.cend(); ++it) {
        standin.insert(it.key(), it.value());
    }
    return standin;
}

} // namespace

bool InfoCollectHandler::registerCollectCallback(const CallBackFunc &callback)
{
    Keeper &keeper = Keeper::instance();
    keeper.recordCall("registerCollectCallback");
    const Script script = keeper.decide("registerCollectCallback");
    script.throwIfScripted();
    if (script.refuse || !callback) {
        return false;
    }
    keeper.addCollectCallback(callback);
    return true;
}

void DomainMgr::setDomain(const QString &key, const QString &value)
{
    Keeper::instance().recordCall("setDomain", (key + ' ' + value).toUtf8());
    Keeper::instance().decide("setDomain").throwIfScripted();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_domains.insert(key, value);
}

QVariantMap DomainMgr::domains() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_domains;
}

Instance::Instance(const QVariantMap &settings, IZElectronLogProxy *logProxy)
    : m_settings(settings),
      m_logProxy(logProxy),
      m_notifier(new Notifier([this] { announce(); })),
      m_login(*this),
      m_office(*this),
      m_messages(*this)
{
    const QVariantMap standin = effectiveStandin(settings);
    m_isTalkative = standin.value("log").toBool();
    m_announceAfterMs = standin.value("initFinishedAfterMs", kAnnounceMilliseconds).toInt();
    applyState(standin);
    m_cookies.setSession(m_accounts.currentUser());
    startTimeline(standin.value("timeline").toList());
    Keeper::instance().attach(this);
    note("init");
}

Instance::~Instance()
{
    note("uninit");
    Keeper::instance().detach(state());
    m_officeWorker.stop();
    m_accountWorker.stop();
}

bool Instance::raiseNow(const QByteArray &name)
{
    note(name);
    return m_notifier && m_notifier->raise(name);
}

void Instance::makeNoise(quint64 noise)
{
    static const char *const kTypes[] = {"enterMeeting", "getMeetingStatus", "closeMeetingApp", "",
                                         "EnterMeeting"};
    if (noise == 0) {
        return;
    }

    const QByteArray signal = Notifier::signalName(noise);
    const QVariantMap message{{"msgType", kTypes[noise / 7 % 5]},
                              {"meetingUrl", QString(int(noise / 35 % 3000), QChar('%'))},
                              {"accessCode", noise % 3 ? QVariant("%1") : QVariant(QVariantList())},
                              {"logoutAccount", noise % 2 ? QVariant(true) : QVariant("maybe")}};
    const auto context = MessageContext(noise / 11 % 4);
    m_officeWorker.post([this, signal, message, context](bool isCancelled) {
        if (isCancelled) {
            return;
        }
        raiseNow(signal);
        m_messages.send(message, Thread::caller, context);
    });
}

void Instance::run(Thread thread, Worker &worker, const std::function<void()> &job)
{
    if (thread == Thread::caller) {
        job();
    } else if (thread == Thread::library) {
        worker.post([job](bool) { job(); });
    } else {
        // Queued to the notifier: what is left goes with it, before this code is unloaded.
        const std::function<void()> queued = [job, busy = Keeper::instance().busy()] { job(); };
        QMetaObject::invokeMethod(m_notifier.get(), queued, Qt::QueuedConnection);
    }
}

bool Instance::raiseSignal(const QByteArray &name, Thread thread)
{
    const QMetaObject *metaObject = m_notifier->metaObject();
    if (metaObject->indexOfSignal(name + "()") < metaObject->methodOffset()) {
        return false;
    }
    run(thread, m_accountWorker, [this, name] { raiseNow(name); });
    return true;
}

int Instance::sendMessage(const QVariantMap &message, Thread thread, MessageContext context)
{
    return m_messages.send(message, thread, context);
}

int Instance::collect(const QVariantMap &map, Thread thread)
{
    const QList<CallBackFunc> callbacks = Keeper::instance().collectCallbacks();
    for (const CallBackFunc &callback : callbacks) {
        run(thread, m_accountWorker, [callback, map] { deliver("collect", callback, map); });
    }
    return callbacks.size();
}

bool Instance::writeLog(const QString &level, const QString &message, Thread thread)
{
    const LogFunction function = logFunction(level);
    if (!m_logProxy || !function) {
        return false;
    }
    run(thread, m_accountWorker, [logProxy = m_logProxy, function, message] {
        (logProxy->*function)(L"zaccountlite", message.toStdWString());
    });
    return true;
}

void Instance::applyState(const QVariantMap &standin)
{
    m_accounts.configure(standin);
    m_cookies.configure(standin);
    m_office.configure(standin);
    m_accessbase.configure(standin);
    if (standin.contains("answers")) {
        m_answersInline = standin.value("answers").toString() == "inline";
    }
}

QVariantMap Instance::state()
{
    QVariantMap state = m_accounts.description();
    state.insert("domains", m_domainMgr.domains());
    state.insert("settings", m_settings);
    state.insert("meetingStatus", m_office.meetingStatus());
    state.insert("office", m_office.settings());
    return state;
}

void Instance::startTimeline(const QVariantList &timeline)
{
    for (const QVariant &value : timeline) {
        const QVariantMap entry = value.toMap();
        const QByteArray signal = entry.value("signal").toString().toUtf8();
        const QVariantMap message = entry.value("message").toMap();
        const auto job = [this, signal, message](bool isCancelled) {
            if (isCancelled) {
                return;
            }
            if (!signal.isEmpty()) {
                raiseNow(signal);
            }
            if (!message.isEmpty()) {
                m_messages.send(message, Thread::caller, MessageContext::alive);
            }
        };
        m_officeWorker.postBackground(job, entry.value("afterMs").toInt());
    }
}

/// Raises initFinished() once somebody listens, with a pause in which the host can subscribe.
void Instance::announce()
{
    if (m_announceAfterMs < 0 || m_isAnnounced.exchange(true)) {
        return;
    }
    const auto job = [this](bool isCancelled) {
        if (!isCancelled) {
            raiseNow("initFinished");
        }
    };
    m_accountWorker.post(job, m_announceAfterMs);
}

void Instance::note(const QString &message)
{
    if (m_isTalkative) {
        writeLog("info", message, Thread::caller);
    }
}

} // namespace zefstandin
