#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <QVector>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

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
    bool destroyContext = false; ///< deletes the context object that it was given
    bool keepNotifier = false;   ///< the notifier is not deleted
    bool plainNotifier = false;  ///< a notifier without signals
    int skip = 0;
    int count = -1;    ///< how many calls it applies to; -1: all
    quint64 noise = 0; ///< not 0: a signal and a message besides, in hostile mode

    bool answersInCall() const { return thread == Thread::caller; }

    /// Throws the scripted exception, if there is one.
    void throwIfScripted() const
    {
        if (exception) {
            throw std::runtime_error(exception->toStdString());
        }
    }

    void throwLateIfScripted() const
    {
        if (lateException) {
            throw std::runtime_error(lateException->toStdString());
        }
    }

    /// Sleeps for the scripted time. For operations that answer by returning.
    void sleep() const
    {
        if (delayMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        }
    }

    /// What a library does to the thread and the application that it runs in.
    void disturbHost() const
    {
        if (quit) {
            QCoreApplication::quit();
        }
        if (loopMs != 0) {
            QEventLoop loop;
            if (loopMs > 0) {
                QTimer::singleShot(loopMs, &loop, &QEventLoop::quit);
            }
            loop.exec();
        }
    }
};

bool isKnownOperation(const QString &operation);

/// The scripts for the calls to come of one operation, in order: from one script, or from a list of
/// them, each for one call unless its "count" says otherwise.
/// \return nothing when a key is unknown or a value has the wrong type.
std::optional<QVector<Script>> scriptsFrom(const QVariant &value);

/// The misbehaviour number \a ordinal of an operation; the same for the same arguments.
Script hostileScript(unsigned seed, const QString &operation, unsigned ordinal);

} // namespace zefstandin
