#pragma once

#include "keeper/heldanswers.h"
#include "keeper/records.h"
#include "keeper/scripts.h"

#include <condition_variable>

namespace zefstandin {

/// What the control can ask of a running library. Called on any thread, not after detach() has
/// returned.
class LibraryHooks
{
public:
    virtual bool raiseSignal(const QByteArray &name, Thread thread) = 0;
    virtual int sendMessage(const QVariantMap &message, Thread thread, MessageContext context) = 0;
    virtual bool writeLog(const QString &level, const QString &message, Thread thread) = 0;
    virtual void applyState(const QVariantMap &standin) = 0;
    virtual QVariantMap state() = 0;

    /// Runs \p job where it is wanted; false when there is no such thread.
    virtual bool run(Thread thread, const std::function<void()> &job) = 0;

protected:
    ~LibraryHooks() = default;
};

struct MessageHandler
{
    QString messageName;
    QString taskName;
    MessageTaskHandler handler;
};

/// Exists while something is queued or being delivered.
using Busy = std::shared_ptr<void>;

/// State that outlives the stand-in: scripts, modes, records, and the function objects of callers.
/// One object, created at first use and never destroyed. Callable from any thread.
class __attribute__((visibility("default"))) Keeper
{
public:
    static Keeper &instance();

    Scripts &scripts() { return m_scripts; }
    Records &records() { return m_records; }
    HeldAnswers &held() { return m_held; }

    // modes
    /// Takes what a "standin" object has for the keeper: "script", "hostileSeed" and "noCost".
    void setSettings(const QVariantMap &standin);
    void setNoCost(bool noCost) { m_controlNoCost = noCost; }
    bool isNoCost() const { return m_controlNoCost || m_settingsNoCost; }
    QVariantMap overlay() const;
    void addOverlay(const QVariantMap &standin);
    void reset();

    /// As AccountControl::setAction.
    void setAction(const QString &operation, std::function<void()> action);

    // calls
    /// Records the call of an operation and does what comes first: its action, and
    /// what its script says.
    /// \return the script, for what comes then.
    Script begin(const char *operation, const QByteArray &argument = {});
    Script begin(const QString &operation, Call call);
    /// Only records the call.
    void recordCall(const char *name, const std::string &argument = {}, bool hasContext = false);
    /// Gives the final answer of an operation as its script says: held back, or so many times.
    void answer(const PlannedAnswer &answer, const Script &script);
    void countException() { ++m_exceptions; }
    long exceptions() const { return m_exceptions; }

    // function objects of the callers
    void addMessageHandler(const MessageHandler &handler);
    QList<MessageHandler> messageHandlers(const QString &messageName,
                                          const QString &taskName) const;
    void addCollectCallback(const CallBackFunc &callback);
    std::vector<CallBackFunc> collectCallbacks() const;
    /// Only keeps it reachable for leak checkers.
    void keepForever(QObject *object);

    // the library that runs
    void attach(LibraryHooks *hooks);
    void detach(const QVariantMap &lastState);
    /// Calls \p use with the running library, which stays until it returns.
    /// \return what it returned; false without a running library.
    bool withLibrary(const std::function<bool(LibraryHooks &)> &use);
    QVariantMap lastState() const;

    // threads
    Busy busy();
    bool waitUntilIdle(int milliseconds);
    bool canRun(Thread thread) const;
    /// Runs \p job where it is wanted; false when there is no such thread.
    bool run(Thread thread, const std::function<void()> &job);

private:
    Keeper() = default;
    std::function<void()> action(const QString &operation) const;

    std::atomic<bool> m_controlNoCost{false};
    std::atomic<bool> m_settingsNoCost{false};
    std::atomic<long> m_exceptions{0};
    Scripts m_scripts;
    Records m_records;
    HeldAnswers m_held;

    mutable std::mutex m_mutex; // guards everything below; held over no foreign call
    QVariantMap m_overlay;
    QVariantMap m_lastState;
    QList<MessageHandler> m_messageHandlers;
    // Not shared as a QList would be, which ThreadSanitizer cannot follow.
    std::vector<CallBackFunc> m_collectCallbacks;
    QList<QObject *> m_keptObjects;
    QHash<QString, std::function<void()>> m_actions;
    LibraryHooks *m_hooks = nullptr;
    int m_users = 0; // calls of withLibrary in progress
    int m_busy = 0;
    std::condition_variable m_changed; // m_users or m_busy became 0
};

} // namespace zefstandin
