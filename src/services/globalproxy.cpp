#include "services/globalproxy.h"

#include "log/logline.h"

#include <QNetworkProxy>

namespace {

constexpr int kSystemConfiguration = 1;

QNetworkProxy::ProxyType kindOf(int type)
{
    switch (type) {
    case 2:
        return QNetworkProxy::HttpProxy;
    case 3:
        return QNetworkProxy::Socks5Proxy;
    default:
        return QNetworkProxy::NoProxy;
    }
}

} // namespace

void setGlobalNetworkProxy(const QVariantMap &settings)
{
    const int type = settings.value(QStringLiteral("proxyType")).toInt();
    const QString user = settings.value(QStringLiteral("proxyUser")).toString();
    const QString password = settings.value(QStringLiteral("proxyPassWord")).toString();
    const QString host = settings.value(QStringLiteral("proxyHost")).toString();
    const int port = settings.value(QStringLiteral("proxyPort")).toInt();

    if (type == kSystemConfiguration) {
        QNetworkProxyFactory::setUseSystemConfiguration(true);
        logInfo("setGlobalNetworkProxy", "default proxy");
        return;
    }

    const QNetworkProxy proxy(kindOf(type), host, static_cast<quint16>(port), user, password);
    QNetworkProxy::setApplicationProxy(proxy);
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    logInfo("setGlobalNetworkProxy", "type:%1 host:%2 port:%3 user:%4 password:%5",
            {type, host, port, user, password});
}
