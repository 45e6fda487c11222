#include "keeper/keeper.h"

#include "jsontext.h"
#include "keeper/delivery.h"
#include "keeper/thread.h"
#include "keeper/vocabulary.h"

#include <QCoreApplication>

#include <chrono>
#include <thread>

namespace zefstandin {

Keeper &Keeper::instance()
{
    // Never destroyed: threads may still answer while the process ends.
    static Keeper *const keeper = new Keeper;
    return *keeper;
}

void Keeper::setSettings(const QVariantMap &standin)
{
    for (const QString &key : standin.keys()) {
        if (!isSettingsKey(key)) {
            qWarning("account stand-in: no setting is named %s", qUtf8Printable(key));
        }
    }
    m_scripts.setSettings(standin.value("script").toMap(), standin.value("hostileSeed").toUInt());
    m_settingsNoCost = standin.value("noCost").toBool();
}

QVariantMap Keeper::overlay() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_overlay;
}

void Keeper::addOverlay(const QVariantMap &standin)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_overlay = merged(m_overlay, standin);
}

void Keeper::reset()
{
    m_controlNoCost = m_settingsNoCost = false;
    m_scripts.clear();
    m_held.clear();
    m_records.clear();
    m_exceptions = 0;
    // Foreign function objects are destroyed after the lock.
    QList<MessageHandler> handlers;
    std::vector<CallBackFunc> callbacks;
    QHash<QString, std::function<void()>> actions;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_overlay.clear();
    m_lastState.clear();
    handlers.swap(m_messageHandlers);
    callbacks.swap(m_collectCallbacks);
    actions.swap(m_actions);
}

void Keeper::setAction(const QString &operation, std::function<void()> action)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_actions[operation].swap(action);
}

std::function<void()> Keeper::action(const QString &operation) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_actions.value(operation);
}

Script Keeper::begin(const char *operation, const QByteArray &argument)
{
    return isNoCost() ? Script()
                      : begin(operation, {operation, argument.toStdString(), {}, false, 0});
}

Script Keeper::begin(const QString &operation, Call call)
{
    if (isNoCost()) {
        return {};
    }
    m_records.add(std::move(call));
    if (const std::function<void()> first = action(operation)) {
        first();
    }
    const Script script = m_scripts.next(operation);
    const std::optional<Operation> known = findOperation(operation);
    script.beginCall(known && answersByReturning(*known));
    return script;
}

void Keeper::recordCall(const char *name, const std::string &argument, bool hasContext)
{
    if (!isNoCost() && m_records.isEnabled()) {
        m_records.add({name, argument, {}, hasContext, 0});
    }
}

void Keeper::answer(const PlannedAnswer &answer, const Script &script)
{
    if (!script.hold) {
        for (int i = 0; i < script.times; ++i) {
            deliver(answer);
        }
        return;
    }

    const long id = m_held.add(answer);
    if (script.releaseAfterMs < 0) {
        return;
    }
    const auto release = [this, id] {
        if (const std::optional<PlannedAnswer> due = m_held.take(id, false)) {
            deliver(*due);
        }
    };
    const auto releaseLater = [release, delay = std::chrono::milliseconds(script.releaseAfterMs)] {
        std::this_thread::sleep_for(delay);
        release();
    };
    if (!startDetached(releaseLater)) {
        release(); // the system gives no thread: answered at once
    }
}

void Keeper::addMessageHandler(const MessageHandler &handler)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_messageHandlers.append(handler);
}

QList<MessageHandler> Keeper::messageHandlers(const QString &messageName,
                                              const QString &taskName) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QList<MessageHandler> matching;
    for (const MessageHandler &handler : m_messageHandlers) {
        if (handler.messageName == messageName && handler.taskName == taskName) {
            matching.append(handler);
        }
    }
    return matching;
}

void Keeper::addCollectCallback(const CallBackFunc &callback)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_collectCallbacks.push_back(callback);
}

void Keeper::keepForever(QObject *object)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_keptObjects.append(object);
}

std::vector<CallBackFunc> Keeper::collectCallbacks() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_collectCallbacks;
}

void Keeper::attach(LibraryHooks *hooks)
{
    QList<MessageHandler> handlers;
    std::vector<CallBackFunc> callbacks;
    const std::lock_guard<std::mutex> lock(m_mutex);
    handlers.swap(m_messageHandlers);
    callbacks.swap(m_collectCallbacks);
    m_hooks = hooks;
}

void Keeper::detach(const QVariantMap &lastState)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_hooks = nullptr;
    m_lastState = lastState;
    m_changed.wait(lock, [this] { return m_users == 0; });
}

bool Keeper::withLibrary(const std::function<bool(LibraryHooks &)> &use)
{
    LibraryHooks *hooks = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_hooks) {
            return false;
        }
        hooks = m_hooks;
        ++m_users;
    }
    const bool result = use(*hooks);
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_users;
    m_changed.notify_all();
    return result;
}

QVariantMap Keeper::lastState() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastState;
}

Busy Keeper::busy()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_busy;
    }
    return Busy(this, [](Keeper *keeper) {
        const std::lock_guard<std::mutex> lock(keeper->m_mutex);
        --keeper->m_busy;
        keeper->m_changed.notify_all();
    });
}

bool Keeper::waitUntilIdle(int milliseconds)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds),
                              [this] { return m_busy == 0; });
}

bool Keeper::canRun(Thread thread) const
{
    return thread != Thread::host || QCoreApplication::instance();
}

bool Keeper::run(Thread thread, const std::function<void()> &job)
{
    if (thread == Thread::caller) {
        job();
        return true;
    }

    const std::function<void()> queued = [job, busy = busy()] { job(); };
    if (thread == Thread::library) {
        return startDetached(queued);
    }
    QCoreApplication *application = QCoreApplication::instance();
    return application && QMetaObject::invokeMethod(application, queued, Qt::QueuedConnection);
}

} // namespace zefstandin
