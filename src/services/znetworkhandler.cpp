#include "services/znetworkhandler.h"

#include "account/accountservices.h"
#include "services/globalproxy.h"

namespace {

QVariantMap okData()
{
    return {{QStringLiteral("result"), QStringLiteral("ok")}};
}

} // namespace

// The proxy is process-wide state of Qt, set on the host thread only.
ZNetworkHandler::ZNetworkHandler(QObject *parent) : ZMessageHandlerBase(parent, {}) {}

void ZNetworkHandler::updateProxyInfo(const QVariantMap &params, const CallBackFunc &callback)
{
    setGlobalNetworkProxy(params);
    replySuccess(callback, okData());
}

void ZNetworkHandler::setCustomDomain(const QVariantMap &params, const CallBackFunc &callback)
{
    // The interface tests the parameters before the service.
    if (params.isEmpty()) {
        replyFail(callback, QStringLiteral("param is empty"));
        return;
    }

    IDomainMgr *domainMgr =
        serviceOrReply(&IAccountSdk::getDomainMgr, QStringLiteral("domainMgr is null"), callback);
    if (!domainMgr) {
        return;
    }

    for (auto entry = params.cbegin(); entry != params.cend(); ++entry) {
        domainMgr->setDomain(entry.key(), entry.value().toString());
    }
    replySuccess(callback, okData());
}
