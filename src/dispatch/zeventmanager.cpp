#include "dispatch/zeventmanager.h"

#include <QMetaMethod>

#include <algorithm>
#include <atomic>

namespace {

// Counts up over all runs of the process, so that a stale handle matches no other subscription.
std::atomic<ZEvent::ListenerHandle> s_count{0};

/// "module.event", the first two parts of a path.
QString eventPath(const QString &path)
{
    const int firstPoint = path.indexOf(QLatin1Char('.'));
    return path.left(path.indexOf(QLatin1Char('.'), firstPoint + 1));
}

} // namespace

ZEventManager::ZEventManager(QObject *parent) : QObject(parent) {}

ZEventManager::~ZEventManager()
{
    removeAllListeners();
}

void ZEventManager::addEvents(const QString &module, const QObject *sender)
{
    const QMetaMethod deliver =
        ZEvent::staticMetaObject.method(ZEvent::staticMetaObject.indexOfSlot("deliver()"));
    const QMetaObject &senderClass = *sender->metaObject();
    for (int index = senderClass.methodOffset(); index < senderClass.methodCount(); ++index) {
        const QMetaMethod signal = senderClass.method(index);
        if (signal.methodType() == QMetaMethod::Signal) {
            auto *event = new ZEvent(this);
            connect(sender, signal, event, deliver);
            m_indexes.insert(module + QLatin1Char('.') + QString::fromLatin1(signal.name()),
                             m_events.size());
            m_events.push_back(event);
        }
    }
}

QStringList ZEventManager::paths() const
{
    QStringList paths = m_indexes.keys();
    std::sort(paths.begin(), paths.end(), [this](const QString &one, const QString &other) {
        return m_indexes.value(one) < m_indexes.value(other);
    });
    return paths;
}

ZEventManager::ListenerHandle ZEventManager::addListener(const QString &path,
                                                         const CallBackFunc &callback)
{
    const auto index = m_indexes.constFind(eventPath(path));
    if (index == m_indexes.constEnd()) {
        return 0;
    }
    // The remainder of a handle identifies its event for removeListener.
    return m_events[*index]->add(callback, [&] { return ++s_count * m_events.size() + *index; });
}

void ZEventManager::removeListener(ListenerHandle handle)
{
    if (!m_events.empty()) {
        m_events[handle % m_events.size()]->remove(handle);
    }
}

void ZEventManager::removeAllListeners()
{
    for (ZEvent *event : m_events) {
        event->removeAll();
    }
}
