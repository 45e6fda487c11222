#pragma once

#include "base/callbackfunc.h"
#include "dispatch/zmessagehandlerbase.h"

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>

#include <map>
#include <string>

/// Owns one handler per module and routes the method path "module.method" to it.
///
/// Lives on the host thread and belongs to the application. The table is filled before init returns
/// and only read afterwards, so call and asynCall may be entered from any thread. The account library
/// gets handlers as context objects; the methods of one that it destroys are not found any more.
class ZMethodDispatcher : public QObject
{
    Q_OBJECT

public:
    explicit ZMethodDispatcher(QObject *parent);

    /// Creates the handlers of all modules; defined where they are known.
    [[nodiscard]] bool initHandlers();

    /// Runs a method on the calling thread; routing failures are replies as well.
    ///
    /// \param path UTF-8; null is an empty path.
    QVariantMap call(const char *path, const QVariantMap &params);

    /// Queues a method, or the reply that names a routing failure, to the host thread.
    /// \return whether anything was queued.
    bool asynCall(const char *path, const QVariantMap &params, const CallBackFunc &callback);

    /// By module.
    const QMap<QString, QPointer<ZMessageHandlerBase>> &handlers() const { return m_handlers; }

private:
    /// Where a path leads.
    struct Route
    {
        QPointer<ZMessageHandlerBase> handler;
        ZMessageHandlerBase::Method method;
        QString failure; ///< instead, when there is no handler
    };

    void addHandler(const QString &module, ZMessageHandlerBase *handler);
    Route lookUp(const QString &path) const;
    template <typename Use>
    auto withRoute(const char *path, Use use) const;

    // By the exact path of every method; other spellings are looked up anew.
    std::map<std::string, Route, std::less<>> m_routes;
    QMap<QString, QPointer<ZMessageHandlerBase>> m_handlers;
};
