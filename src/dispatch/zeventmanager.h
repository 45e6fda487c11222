#pragma once

#include "dispatch/zevent.h"

#include <QObject>
#include <QStringList>

#include <string>
#include <string_view>
#include <vector>

/// The host's subscriptions to events.
///
/// Lives on the host thread and belongs to the application. The table of events is filled before
/// init returns and only read afterwards; addListener and the removals are callable from any
/// thread.
///
/// Each event has one connection, made before the host can subscribe. Qt publishes a new connection
/// to the emitting thread without a memory barrier, which is a data race on Arm for connections
/// made on other threads.
class ZEventManager : public QObject
{
public:
    using ListenerHandle = ZEvent::ListenerHandle;

    explicit ZEventManager(QObject *parent);
    ~ZEventManager() override;

    /// Adds an event "module.signal" for every signal that the sender's own class declares. The
    /// sender emits them on the host thread.
    void addEvents(const QString &module, const QObject *sender);

    /// In the order of the signals.
    QStringList paths() const;

    /// \param path "module.event", UTF-8; text after a second dot is ignored. Null is an empty path.
    /// \return 0 when there is no such event.
    ListenerHandle addListener(const char *path, const CallBackFunc &callback);

    /// As ZEvent::remove.
    void removeListener(ListenerHandle handle);

    void removeAllListeners();

private:
    std::size_t indexOf(std::string_view path) const;

    std::vector<std::string> m_paths; // of the events, by index
    std::vector<ZEvent *> m_events;
};
