#include "keeper/scripts.h"

#include "keeper/misbehaviour.h"
#include "keeper/vocabulary.h"

#include <QDebug>

namespace zefstandin {

namespace {

using Lock = std::lock_guard<std::mutex>;

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

bool Scripts::set(const QString &operation, const QVariant &script)
{
    const std::optional<QVector<Script>> scripts = scriptsFrom(script);
    if (!scripts || !findOperation(operation)) {
        return false;
    }

    const Lock lock(m_mutex);
    m_control.entries.remove(operation);
    if (!scripts->isEmpty() && script != QVariantMap()) {
        m_control.entries.insert(operation, {*scripts, 0});
    }
    return true;
}

void Scripts::setHostile(unsigned seed)
{
    const Lock lock(m_mutex);
    m_control.hostileSeed = seed;
    m_ordinals.clear();
}

void Scripts::setSettings(const QVariantMap &scripts, unsigned hostileSeed)
{
    const Lock lock(m_mutex);
    m_settings = {{}, hostileSeed};
    m_ordinals.clear();
    for (auto it = scripts.cbegin(); it != scripts.cend(); ++it) {
        const std::optional<QVector<Script>> read = scriptsFrom(it.value());
        if (read && findOperation(it.key())) {
            m_settings.entries.insert(it.key(), {*read, 0});
        } else {
            qWarning("account stand-in: no valid script for %s", qUtf8Printable(it.key()));
        }
    }
}

Script Scripts::next(const QString &operation)
{
    const Lock lock(m_mutex);
    for (Source *source : {&m_control, &m_settings}) {
        const auto entry = source->entries.find(operation);
        if (entry == source->entries.end()) {
            continue;
        }
        if (const Script *script = scriptOf(entry->scripts, entry->seen++)) {
            return *script;
        }
    }

    const unsigned seed = m_control.hostileSeed ? m_control.hostileSeed : m_settings.hostileSeed;
    return seed ? misbehaviour(seed, operation, ++m_ordinals[operation]) : Script();
}

QVariantMap Scripts::remaining() const
{
    const Lock lock(m_mutex);
    QVariantMap remaining;
    for (const Source *source : {&m_settings, &m_control}) {
        for (auto it = source->entries.cbegin(); it != source->entries.cend(); ++it) {
            const int calls = length(it->scripts);
            if (calls < 0 || calls > it->seen) {
                remaining.insert(it.key(), calls < 0 ? calls : calls - it->seen);
            }
        }
    }
    return remaining;
}

void Scripts::clear()
{
    const Lock lock(m_mutex);
    m_control = {};
    m_settings = {};
    m_ordinals.clear();
}

} // namespace zefstandin
