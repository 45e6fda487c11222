#include "services/zaccessbasehandler.h"

#include "account/accountservices.h"
#include "dispatch/servicereply.h"
#include "json/jsonwriter.h"

namespace {

IAccessbaseService *accessbaseServiceOrReply(const CallBackFunc &callback)
{
    return serviceOrReply(&IAccountSdk::getAccessbaseService,
                          QStringLiteral("accessbaseService is nullptr"), callback);
}

/// {"header":{code:text, ...}}, each code's value as a text; there is at least one.
QString headerRequest(const QVariantMap &codes)
{
    JsonWriter text;
    for (auto code = codes.cbegin(); code != codes.cend(); ++code) {
        text.append(text.length() == 0 ? QLatin1String(R"({"header":{)") : QLatin1String(","));
        text.string(code.key());
        text.punctuation(':');
        text.string(code.value().toString());
    }
    text.append(QLatin1String("}}"));
    return QString::fromUtf8(text.text(), text.length());
}

} // namespace

ZAccessbaseHandler::ZAccessbaseHandler(QObject *parent)
    : ZMessageHandlerBase(parent, {QStringLiteral("getDeviceInfo"),
                                   QStringLiteral("getDeviceNetworkStatus"),
                                   QStringLiteral("getDeviceHeader")})
{
}

void ZAccessbaseHandler::getDeviceInfo(const QVariantMap &, const CallBackFunc &callback)
{
    if (IAccessbaseService *service = accessbaseServiceOrReply(callback)) {
        replyOutput(callback, service->getDeviceInfo());
    }
}

void ZAccessbaseHandler::getDeviceNetworkStatus(const QVariantMap &, const CallBackFunc &callback)
{
    if (IAccessbaseService *service = accessbaseServiceOrReply(callback)) {
        replyOutput(callback, service->getDeviceNetworkStatus());
    }
}

void ZAccessbaseHandler::getDeviceHeader(const QVariantMap &params, const CallBackFunc &callback)
{
    // The interface tests the service before the parameters.
    IAccessbaseService *service = accessbaseServiceOrReply(callback);
    if (!service) {
        return;
    }

    const QVariantMap codes = params.value(QStringLiteral("deviceCode")).toMap();
    if (codes.isEmpty()) {
        replyFail(callback, QStringLiteral("deviceCode is empty"));
        return;
    }

    replyOutput(callback, service->getDeviceHeader(headerRequest(codes)));
}
