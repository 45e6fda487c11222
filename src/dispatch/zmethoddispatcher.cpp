#include "dispatch/zmethoddispatcher.h"

#include "dispatch/dottedpath.h"
#include "dispatch/reply.h"
#include "dispatch/zmessagehandlerbase.h"

namespace {

const auto kPathMalformed = QStringLiteral("Wrong number of arguments");

QString moduleMissing(const QString &module)
{
    return QStringLiteral("%1 not found").arg(module);
}

} // namespace

ZMethodDispatcher::ZMethodDispatcher(QObject *parent) : QObject(parent) {}

QVariantMap ZMethodDispatcher::call(const QString &path, const QVariantMap &params)
{
    const auto parts = splitDottedPath(path);
    if (!parts) {
        return buildFailResult(kPathMalformed, {});
    }
    if (ZMessageHandlerBase *handler = m_handlers.value(parts->module)) {
        return handler->call(parts->name, params);
    }
    return buildFailResult(moduleMissing(parts->module), {});
}

bool ZMethodDispatcher::asynCall(const QString &path, const QVariantMap &params,
                                 const CallBackFunc &callback)
{
    const auto parts = splitDottedPath(path);
    if (!parts) {
        return postReplyFail(callback, kPathMalformed);
    }
    if (ZMessageHandlerBase *handler = m_handlers.value(parts->module)) {
        return handler->asynCall(parts->name, params, callback);
    }
    return postReplyFail(callback, moduleMissing(parts->module));
}
