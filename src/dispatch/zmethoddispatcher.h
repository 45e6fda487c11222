#pragma once

#include "base/callbackfunc.h"

#include <QMap>
#include <QObject>
#include <QString>

class ZMessageHandlerBase;

/// Owns one handler per module and routes the method path "module.method" to it.
///
/// Lives on the host thread and belongs to the application. The table is filled before init returns
/// and only read afterwards, so call and asynCall may be entered from any thread.
class ZMethodDispatcher : public QObject
{
    Q_OBJECT

public:
    explicit ZMethodDispatcher(QObject *parent);

    /// Creates the handlers of all modules; defined where they are known.
    [[nodiscard]] bool initHandlers();

    /// Runs a method on the calling thread; routing failures are replies as well.
    QVariantMap call(const QString &path, const QVariantMap &params);

    /// Queues a method, or the reply that names a routing failure, to the host thread.
    /// \return whether anything was queued.
    bool asynCall(const QString &path, const QVariantMap &params, const CallBackFunc &callback);

    /// By module.
    const QMap<QString, ZMessageHandlerBase *> &handlers() const { return m_handlers; }

private:
    QMap<QString, ZMessageHandlerBase *> m_handlers;
};
