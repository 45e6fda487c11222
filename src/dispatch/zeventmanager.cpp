#include "dispatch/zeventmanager.h"

#include <QMetaMethod>

#include <algorithm>
#include <atomic>

namespace {

// Counts up over all runs of the process, so that a stale handle matches no other subscription, and
// from far above the small numbers that a host may make up.
std::atomic<ZEvent::ListenerHandle> s_count{Q_UINT64_C(1) << 40};

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

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
            m_paths.push_back((module.toUtf8() + '.' + signal.name()).toStdString());
            m_events.push_back(event);
        }
    }
}

QStringList ZEventManager::paths() const
{
    QStringList paths;
    for (const std::string &path : m_paths) {
        paths.append(QString::fromStdString(path));
    }
    return paths;
}

/// Compares bytes, which costs a fifth of making a QString to look it up. Returns the number of
/// events when there is no such one.
std::size_t ZEventManager::indexOf(std::string_view path) const
{
    if (path.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        path.remove_prefix(kByteOrderMark.size()); // as Qt does when it decodes a text
    }
    const std::string_view firstTwoParts = path.substr(0, path.find('.', path.find('.') + 1));
    const auto found = std::find(m_paths.begin(), m_paths.end(), firstTwoParts);
    return std::size_t(found - m_paths.begin());
}

ZEventManager::ListenerHandle ZEventManager::addListener(const char *path,
                                                         const CallBackFunc &callback)
{
    const std::size_t index = indexOf(path ? path : "");
    if (index == m_events.size()) {
        return 0;
    }
    // The remainder of a handle identifies its event for removeListener.
    return m_events[index]->add(callback, [&] { return ++s_count * m_events.size() + index; });
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
