#pragma once

#include <QString>
#include <QVariantMap>
#include <QVector>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

namespace zefstandin {

/// What one call of one operation has to do instead of, or besides, its honest work.
struct Script
{
    bool refuse = false;     ///< the failure result: false, or a null pointer
    bool nullResult = false; ///< GetInterface: true, but a null pointer
    std::optional<QString> exception;
    std::optional<QVariantMap> reply;
    std::optional<QString> text;
    std::optional<QVector<int>> statuses;
    int delayMs = 0;
    int times = 1;
    bool inCaller = false; ///< answered inside the call
    bool hold = false;
    int releaseAfterMs = -1;
    bool dropAtUninit = false;
    int skip = 0;
    int count = -1;    ///< how many calls it applies to; -1: all
    quint64 noise = 0; ///< not 0: what else to stir up, in hostile mode

    /// Throws the scripted exception, if there is one.
    void throwIfScripted() const
    {
        if (exception) {
            throw std::runtime_error(exception->toStdString());
        }
    }

    /// Sleeps for the scripted time. For operations that answer by returning.
    void sleep() const
    {
        if (delayMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        }
    }
};

bool isKnownOperation(const QString &operation);

/// \return nothing when a key is unknown or a value has the wrong type.
std::optional<Script> scriptFromMap(const QVariantMap &map);

/// The misbehaviour number \a ordinal of an operation; the same for the same arguments.
Script hostileScript(unsigned seed, const QString &operation, unsigned ordinal);

} // namespace zefstandin
