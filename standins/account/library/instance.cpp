#include "library/instance.h"

#include "jsontext.h"
#include "keeper/delivery.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <chrono>

namespace zefstandin {

namespace {

constexpr auto kLongAfterTheRun = std::chrono::minutes(1);

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

} // namespace

bool InfoCollectHandler::registerCollectCallback(const CallBackFunc &callback)
{
    const Script script = Keeper::instance().begin("registerCollectCallback");
    if (script.refuse || !callback) {
        return false;
    }
    Keeper::instance().addCollectCallback(callback);
    return true;
}

void DomainMgr::setDomain(const QString &key, const QString &value)
{
    Keeper::instance().begin("setDomain", (key + ' ' + value).toUtf8());
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_domains.insert(key, value);
}

QVariantMap DomainMgr::domains() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_domains;
}

Instance::Instance(const QVariantMap &settings, IZElectronLogProxy *logProxy)
    : m_settings(settings), m_logProxy(logProxy), m_notifier(new Notifier([this] { announce(); }))
{
    // With the control's setState() applied.
    const QVariantMap standin =
        merged(settings.value("standin").toMap(), Keeper::instance().overlay());
    m_isLogging = standin.value("log").toBool();
    m_announceAfterMs = standin.value("initFinishedAfterMs", kAnnounceMilliseconds).toInt();
    applyState(standin);
    cookies.setSession(accounts.locked()->currentUserId());
    startTimeline(standin.value("timeline").toList());
    Keeper::instance().attach(this);
    note("init");
}

Instance::~Instance()
{
    note("uninit");
    Keeper::instance().detach(state());
    officeWorker.stop();
    accountWorker.stop();
}

void Instance::leaveBehind(const QString &what)
{
    // A function object with a destructor, which is code of this library as its call is.
    const auto functor = [owned = std::make_shared<QString>(what)] {};
    if (what == "notifier") {
        Keeper::instance().keepForever(m_notifier.release());
    } else if (what == "notifierToDelete") {
        m_notifier.release()->deleteLater();
    } else if (what == "timer") {
        QTimer::singleShot(kLongAfterTheRun, qApp, functor);
    } else if (what == "child") {
        m_notifier.release()->setParent(qApp);
    } else if (what == "functor") {
        QMetaObject::invokeMethod(qApp, functor, Qt::QueuedConnection);
    } else if (what == "names") {
        qApp->setObjectName(QStringLiteral("account library"));
        QThread::currentThread()->setObjectName(QStringLiteral("account library"));
        QCoreApplication::setApplicationName(QStringLiteral("account library"));
        QCoreApplication::setOrganizationName(QStringLiteral("account library"));
    }
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
    officeWorker.postOptional([this, signal, message, context] {
        raiseNow(signal);
        messages.send(message, Thread::caller, context);
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
    run(thread, accountWorker, [this, name] { raiseNow(name); });
    return true;
}

int Instance::sendMessage(const QVariantMap &message, Thread thread, MessageContext context)
{
    return messages.send(message, thread, context);
}

bool Instance::run(Thread thread, const std::function<void()> &job)
{
    run(thread, accountWorker, job);
    return true;
}

bool Instance::writeLog(const QString &level, const QString &message, Thread thread)
{
    const LogFunction function = logFunction(level);
    if (!m_logProxy || !function) {
        return false;
    }
    run(thread, accountWorker, [logProxy = m_logProxy, function, message] {
        (logProxy->*function)(L"zaccountlite", message.toStdWString());
    });
    return true;
}

void Instance::applyState(const QVariantMap &standin)
{
    accounts.configure(standin);
    cookies.configure(standin);
    office.configure(standin);
    accessbase.configure(standin);
    if (standin.contains("answers")) {
        m_answersInline = standin.value("answers").toString() == "inline";
    }
}

QVariantMap Instance::state()
{
    QVariantMap state = accounts.locked()->description();
    state.insert("domains", domainMgr.domains());
    state.insert("settings", m_settings);
    state.insert("meetingStatus", office.state().meetingStatus);
    state.insert("office", office.state().settings);
    return state;
}

void Instance::startTimeline(const QVariantList &timeline)
{
    for (const QVariant &value : timeline) {
        const QVariantMap entry = value.toMap();
        const QByteArray signal = entry.value("signal").toString().toUtf8();
        const QVariantMap message = entry.value("message").toMap();
        const auto job = [this, signal, message] {
            if (!signal.isEmpty()) {
                raiseNow(signal);
            }
            if (!message.isEmpty()) {
                messages.send(message, Thread::caller, MessageContext::alive);
            }
        };
        officeWorker.postOptional(job, entry.value("afterMs").toInt(), nullptr);
    }
}

/// Raises initFinished() some time after it was first connected, so that the host can subscribe before.
void Instance::announce()
{
    if (m_announceAfterMs < 0 || m_isAnnounced.exchange(true)) {
        return;
    }
    accountWorker.postOptional([this] { raiseNow("initFinished"); }, m_announceAfterMs);
}

void Instance::note(const QString &message)
{
    if (m_isLogging) {
        writeLog("info", message, Thread::caller);
    }
}

} // namespace zefstandin
