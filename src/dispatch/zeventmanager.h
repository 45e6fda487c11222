#pragma once

#include "dispatch/callbackfunc.h"
#include "zelectronframework/zelectronframework.h"

#include <QMetaObject>
#include <QObject>
#include <QString>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>

/// The host's subscriptions to the events of the account binding.
///
/// Lives on the host thread and belongs to the application; its functions are callable from any
/// thread. Every event is delivered on the host thread, because the manager is the context of the
/// connections: so at most one thread runs callbacks, and removeListener can wait for it.
class ZEventManager : public QObject
{
public:
    using ListenerHandle = zelectronframeworkspace::ListenerHandle;

    explicit ZEventManager(QObject *parent);
    ~ZEventManager() override;

    /// \param path "account.event"; see kEvents in the source for the seven events.
    /// \return 0 when there is no such event, or no account binding to connect to.
    ListenerHandle addListener(const QString &path, const CallBackFunc &callback);

    /// When it has returned on another thread than the host thread, the callback is not running and
    /// will not be entered. Unknown handles are ignored.
    void removeListener(ListenerHandle handle);

    void removeAllListeners();

private:
    class Subscription;
    struct Record
    {
        QMetaObject::Connection connection;
        std::shared_ptr<Subscription> subscription;
    };

    ListenerHandle saveConnection(Record record);
    void end(Record &record);

    std::mutex m_mutex; // guards m_records; held over no callback
    std::unordered_map<ListenerHandle, Record> m_records;
};
