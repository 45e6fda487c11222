#pragma once

#include <QString>
#include <QVariantMap>
#include <QVector>

#include <optional>
#include <stdexcept>

namespace zefstandin {

/// What one call of one operation does instead of, or in addition to, its normal work.
struct Script
{
    enum class Thread { library, caller };

    bool refuse = false;     ///< the failure result: false, or a null pointer
    bool nullResult = false; ///< GetInterface: true, but a null pointer
    std::optional<QString> exception;
    std::optional<QString> lateException; ///< thrown when everything else is done
    std::optional<QVariantMap> reply;
    std::optional<QString> text;
    std::optional<QVector<int>> statuses;
    int delayMs = 0;
    int times = 1;
    Thread thread = Thread::library; ///< caller: answered inside the call
    bool hold = false;
    int releaseAfterMs = -1;
    bool dropAtUninit = false;
    int loopMs = 0;    ///< waits in an event loop of its own; below 0: until that is ended
    bool quit = false; ///< asks the core application to end
    bool destroyContext = false;  ///< deletes the context object that it was given
    bool plainNotifier = false;   ///< a notifier without signals
    std::optional<QString> leave; ///< what is left behind; see leaveBehind()
    int skip = 0;
    int count = -1;    ///< how many calls it applies to; -1: all
    quint64 noise = 0; ///< not 0: also raises a signal and sends a message, in hostile mode

    bool answersInCall() const { return thread == Thread::caller; }

    /// What a call does first: sleeps, disturbs the thread and the application that it runs in,
    /// throws.
    void beginCall(bool sleeps) const;

    /// What it does last.
    void throwLateIfScripted() const
    {
        if (lateException) {
            throw std::runtime_error(lateException->toStdString());
        }
    }
};

/// The keys of a script, as texts have them.
QStringList scriptKeys();

/// The scripts for the next calls of one operation, in order: from one script, or from a list of
/// them, each for one call unless its "count" says otherwise.
/// \return nothing when a key is unknown or a value has the wrong type.
std::optional<QVector<Script>> scriptsFrom(const QVariant &value);

} // namespace zefstandin
