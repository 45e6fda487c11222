#pragma once

#include "keeper/heldanswers.h"
#include "keeper/records.h"
#include "keeper/script.h"

#include <QHash>

#include <condition_variable>

namespace zefstandin {

/// What the control can ask of a running library. Called on any thread, not after detach() has
/// returned.
class LibraryHooks
{
public:
    virtual bool raiseSignal(const QByteArray &name, Thread thread) = 0;
    virtual int sendMessage(const QVariantMap &message, Thread thread, MessageContext context) = 0;
    virtual int collect(const QVariantMap &map, Thread thread) = 0;
    virtual bool writeLog(const QString &level, const QString &message, Thread thread) = 0;
    virtual void applyState(const QVariantMap &standin) = 0;
    virtual QVariantMap state() = 0;

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

    // scripts and modes
    /// \param script one script or a list; an empty one removes what was there.
    bool setScript(const QString &operation, const QVariant &script);
    void setSettings(const QVariantMap &scripts, unsigned hostileSeed, bool noCost);
    void setHostile(unsigned seed);
    void setNoCost(bool noCost);
    bool isNoCost() const { return m_isNoCost; }
    QVariantMap overlay() const;
    void addOverlay(const QVariantMap &standin);
    Script decide(const QString &operation);
    /// By operation, how many calls its scripts are still for; -1 when that has no end.
    QVariantMap remaining() const;
    void reset();

    // records
    Records &records() { return m_records; }
    void recordAnswer(const QString &answer);
    void recordCall(const char *name, const QByteArray &argument = {});
    void recordCall(Call call);

    // function objects of the callers
    HeldAnswers &held() { return m_held; }
    /// Gives the final answer of an operation as its script says: held back, or so many times.
    void answer(const PlannedAnswer &answer, const Script &script);
    void addMessageHandler(const MessageHandler &handler);
    QList<MessageHandler> messageHandlers(const QString &messageName,
                                          const QString &taskName) const;
    void addCollectCallback(const CallBackFunc &callback);
    /// Only keeps it reachable for leak checkers.
    void keepForever(QObject *object);
    QList<CallBackFunc> collectCallbacks() const;

    // the library that runs
    void attach(LibraryHooks *hooks);
    void detach(const QVariantMap &lastState);
    /// Calls \a use with the running library, which stays until it returns; false without one.
    bool withLibrary(const std::function<void(LibraryHooks &)> &use);
    QVariantMap lastState() const;

    Busy busy();
    bool waitUntilIdle(int milliseconds);

    bool canRun(Thread thread) const;

    /// Runs \a job where it is wanted; false when there is no such thread.
    bool run(Thread thread, const std::function<void()> &job);

private:
    struct Entry
    {
        QVector<Script> scripts;
        int seen = 0;
    };

    Keeper() = default;

    std::atomic<bool> m_isNoCost{false};
    Records m_records;
    HeldAnswers m_held;

    mutable std::mutex m_mutex; // guards everything below; held over no foreign call
    QHash<QString, Entry> m_scripts;
    QHash<QString, Entry> m_settingsScripts;
    QHash<QString, unsigned> m_ordinals;
    unsigned m_hostileSeed = 0;
    unsigned m_settingsHostileSeed = 0;
    bool m_controlNoCost = false;
    bool m_settingsNoCost = false;
    QVariantMap m_overlay;
    QVariantMap m_lastState;
    QList<MessageHandler> m_messageHandlers;
    QList<CallBackFunc> m_collectCallbacks;
    QList<QObject *> m_keptObjects;
    LibraryHooks *m_hooks = nullptr;
    int m_users = 0; // calls of withLibrary under way
    int m_busy = 0;
    std::condition_variable m_changed; // m_users or m_busy became 0
};

} // namespace zefstandin
