#include "keeper/keeper.h"

#include "keeper/delivery.h"
#include "keeper/thread.h"

#include <QCoreApplication>
#include <QDebug>

#include <chrono>
#include <thread>

namespace zefstandin {

namespace {

/// The script for the call of that number, counted from 0; null for none.
const Script *scriptOf(const QVector<Script> &scripts, int ordinal)
{
    for (const Script &script : scripts) {
        ordinal -= script.skip;
        if (ordinal < 0) {
            return nullptr;
        }
        if (script.count < 0 || ordinal < script.count) {
            return &script;
        }
        ordinal -= script.count;
    }
    return nullptr;
}

/// How many calls there are up to the last one with a script; -1 when that has no end.
int length(const QVector<Script> &scripts)
{
    int calls = 0;
    for (const Script &script : scripts) {
        if (script.count < 0) {
            return -1;
        }
        calls += script.skip + script.count;
    }
    return calls;
}

} // namespace

Keeper &Keeper::instance()
{
    // Never destroyed: threads may still answer while the process ends.
    static Keeper *const keeper = new Keeper;
    return *keeper;
}

bool Keeper::setScript(const QString &operation, const QVariant &script)
{
    const std::optional<QVector<Script>> scripts = scriptsFrom(script);
    if (!scripts || !isKnownOperation(operation)) {
        return false;
    }

    const std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts.remove(operation);
    if (!scripts->isEmpty() && script != QVariantMap()) {
        m_scripts.insert(operation, {*scripts, 0});
    }
    return true;
}

void Keeper::setSettings(const QVariantMap &scripts, unsigned hostileSeed, bool noCost)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_settingsScripts.clear();
    m_ordinals.clear();
    for (auto it = scripts.cbegin(); it != scripts.cend(); ++it) {
        const std::optional<QVector<Script>> operation = scriptsFrom(it.value());
        if (operation && isKnownOperation(it.key())) {
            m_settingsScripts.insert(it.key(), {*operation, 0});
        } else {
            qWarning("account stand-in: no valid script for %s", qUtf8Printable(it.key()));
        }
    }
    m_settingsHostileSeed = hostileSeed;
    m_settingsNoCost = noCost;
    m_isNoCost = m_controlNoCost || m_settingsNoCost;
}

void Keeper::setHostile(unsigned seed)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hostileSeed = seed;
    m_ordinals.clear();
}

void Keeper::setNoCost(bool noCost)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_controlNoCost = noCost;
    m_isNoCost = m_controlNoCost || m_settingsNoCost;
}

QVariantMap Keeper::overlay() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_overlay;
}

void Keeper::addOverlay(const QVariantMap &standin)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Into a copy: starting libraries read the map that they were given without the lock.
    QVariantMap changed = m_overlay;
    for (auto it = standin.cbegin(); it != standin.cend(); ++it) {
        changed.insert(it.key(), it.value());
    }
    m_overlay = changed;
}

Script Keeper::decide(const QString &operation)
{
    if (m_isNoCost) {
        return {};
    }

    const std::lock_guard<std::mutex> lock(m_mutex);
    for (QHash<QString, Entry> *scripts : {&m_scripts, &m_settingsScripts}) {
        const auto entry = scripts->find(operation);
        if (entry == scripts->end()) {
            continue;
        }
        if (const Script *script = scriptOf(entry->scripts, entry->seen++)) {
            return *script;
        }
    }

    const unsigned seed = m_hostileSeed ? m_hostileSeed : m_settingsHostileSeed;
    return seed ? hostileScript(seed, operation, ++m_ordinals[operation]) : Script();
}

QVariantMap Keeper::remaining() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QVariantMap remaining;
    for (const QHash<QString, Entry> *scripts : {&m_settingsScripts, &m_scripts}) {
        for (auto it = scripts->cbegin(); it != scripts->cend(); ++it) {
            const int calls = length(it->scripts);
            if (calls < 0 || calls > it->seen) {
                remaining.insert(it.key(), calls < 0 ? calls : calls - it->seen);
            }
        }
    }
    return remaining;
}

void Keeper::reset()
{
    // Foreign function objects are destroyed after the lock.
    QList<MessageHandler> handlers;
    QList<CallBackFunc> callbacks;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_scripts.clear();
        m_settingsScripts.clear();
        m_ordinals.clear();
        m_hostileSeed = m_settingsHostileSeed = 0;
        m_controlNoCost = m_settingsNoCost = false;
        m_isNoCost = false;
        m_overlay.clear();
        m_lastState.clear();
        handlers.swap(m_messageHandlers);
        callbacks.swap(m_collectCallbacks);
    }
    m_held.clear();
    m_records.clear();
}

void Keeper::recordCall(const char *name, const QByteArray &argument)
{
    if (m_isNoCost || !m_records.isEnabled()) {
        return;
    }
    m_records.addCall({name, argument.toStdString(), {}, false, 0});
}

void Keeper::recordCall(Call call)
{
    m_records.addCall(std::move(call));
}

void Keeper::recordAnswer(const QString &answer)
{
    m_records.addAnswer(answer);
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
    m_collectCallbacks.append(callback);
}

void Keeper::keepForever(QObject *object)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_keptObjects.append(object);
}

QList<CallBackFunc> Keeper::collectCallbacks() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_collectCallbacks;
}

void Keeper::attach(LibraryHooks *hooks)
{
    QList<MessageHandler> handlers;
    QList<CallBackFunc> callbacks;
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

bool Keeper::withLibrary(const std::function<void(LibraryHooks &)> &use)
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
    use(*hooks);
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_users;
    m_changed.notify_all();
    return true;
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
