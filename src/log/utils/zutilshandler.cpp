#include "log/utils/zutilshandler.h"

#include "dispatch/reply.h"
#include "log/zelectronlogproxy.h"

ZUtilsHandler::ZUtilsHandler(QObject *parent)
    : ZMessageHandlerBase(parent, {QStringLiteral("getLogPath")})
{
}

void ZUtilsHandler::getLogPath(const QVariantMap &, const CallBackFunc &callback)
{
    const ZElectronLogProxy *logProxy = g_logProxy;
    if (!logProxy) {
        replyFail(callback, QStringLiteral("log proxy is nullptr"));
        return;
    }

    const QString path = logProxy->getLogPath();
    if (path.isEmpty()) {
        replyFail(callback, QStringLiteral("log path is null"));
        return;
    }

    replySuccess(callback, {{QStringLiteral("path"), path}});
}
