#include "account/signing.h"

#include "account/accountservices.h"
#include "dispatch/servicereply.h"

namespace {

const auto kSignFailed = QStringLiteral("sign failed");

ISignService *signServiceOrReply(const CallBackFunc &callback)
{
    return serviceOrReply(&IAccountSdk::getSignService, QStringLiteral("service is nullptr"),
                          callback);
}

} // namespace

void replyPublicKey(const CallBackFunc &callback)
{
    if (ISignService *service = signServiceOrReply(callback)) {
        replyOutput(callback, service->getJwkPublicKeyStr());
    }
}

void replyPopToken(const QVariantMap &params, const CallBackFunc &callback)
{
    ISignService *service = signServiceOrReply(callback);
    if (!service) {
        return;
    }

    const QString method = params.value(QStringLiteral("method")).toString();
    const QString uri = params.value(QStringLiteral("uri")).toString();
    const QString cv = params.value(QStringLiteral("cv")).toString();
    QByteArray signature;
    if (!service->signPopToken(method, uri, cv, signature)) {
        replyFail(callback, kSignFailed);
        return;
    }

    replyOutput(callback, signature);
}

void replyLoginSignature(const QVariantMap &params, const CallBackFunc &callback)
{
    ISignService *service = signServiceOrReply(callback);
    if (!service) {
        return;
    }

    const QByteArray data = params.value(QStringLiteral("signData")).toString().toUtf8();
    QByteArray signature;
    if (!service->signLoginData(data, signature)) {
        replyFail(callback, kSignFailed);
        return;
    }

    replyOutput(callback, signature);
}

void replyPkcePair(const CallBackFunc &callback)
{
    ISignService *service = signServiceOrReply(callback);
    if (!service) {
        return;
    }

    QString verifier;
    QString challenge;
    if (!service->generatePKCEParam(verifier, challenge)) {
        replyFail(callback, QStringLiteral("generatePKCEParam failed"));
        return;
    }

    replyOutput(callback, QVariantMap{{QStringLiteral("code_verifier"), verifier},
                                      {QStringLiteral("code_challenge"), challenge}});
}
