#include "dispatch/zmethoddispatcher.h"

#include "dispatch/dottedpath.h"
#include "dispatch/reply.h"

#include <string_view>

ZMethodDispatcher::ZMethodDispatcher(QObject *parent) : QObject(parent) {}

void ZMethodDispatcher::addHandler(const QString &module, ZMessageHandlerBase *handler)
{
    m_handlers.insert(module, handler);
    for (const QString &name : handler->methods()) {
        m_routes.emplace((module + QLatin1Char('.') + name).toStdString(),
                         Route{handler, handler->method(name), {}});
    }
}

ZMethodDispatcher::Route ZMethodDispatcher::lookUp(const QString &path) const
{
    const auto parts = splitDottedPath(path);
    if (!parts) {
        return {nullptr, {}, QStringLiteral("Wrong number of arguments")};
    }
    ZMessageHandlerBase *handler = m_handlers.value(parts->module);
    if (!handler) {
        return {nullptr, {}, QStringLiteral("%1 not found").arg(parts->module)};
    }
    return {handler, handler->method(parts->name), {}};
}

template <typename Use>
auto ZMethodDispatcher::withRoute(const char *path, Use use) const
{
    const auto known = m_routes.find(std::string_view(path ? path : ""));
    if (known != m_routes.end() && known->second.handler) {
        return use(known->second);
    }
    return use(lookUp(QString::fromUtf8(path)));
}

QVariantMap ZMethodDispatcher::call(const char *path, const QVariantMap &params)
{
    return withRoute(path, [&params](const Route &route) {
        return route.handler ? route.handler->call(route.method, params)
                             : buildFailResult(route.failure, {});
    });
}

bool ZMethodDispatcher::asynCall(const char *path, const QVariantMap &params,
                                 const CallBackFunc &callback)
{
    return withRoute(path, [&](const Route &route) {
        return route.handler ? route.handler->asynCall(route.method, params, callback)
                             : postReplyFail(callback, route.failure);
    });
}
