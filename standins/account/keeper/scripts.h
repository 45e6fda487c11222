#pragma once

#include "keeper/script.h"

#include <QHash>

#include <mutex>

namespace zefstandin {

/// The scripts of all operations, and the seed of the random misbehaviour of those without one. Each
/// comes from the control or, second, from the settings. Callable from any thread.
class Scripts
{
public:
    /// From the control.
    /// \param script one script or a list; an empty one removes what was there.
    bool set(const QString &operation, const QVariant &script);
    void setHostile(unsigned seed);

    void setSettings(const QVariantMap &scripts, unsigned hostileSeed);

    /// The script for this call of an operation.
    Script next(const QString &operation);

    /// By operation, how many calls its scripts are still for; -1 when that has no end.
    QVariantMap remaining() const;

    void clear();

private:
    struct Entry
    {
        QVector<Script> scripts;
        int seen = 0;
    };
    struct Source
    {
        QHash<QString, Entry> entries;
        unsigned hostileSeed = 0;
    };

    mutable std::mutex m_mutex; // guards everything below
    Source m_control;
    Source m_settings;
    QHash<QString, unsigned> m_ordinals;
};

} // namespace zefstandin
