#pragma once

#include "account/iaccountsdk.h"
#include "library/signing.h"

namespace zefstandin {

/// Signs with a key of this run. Empty inputs are refused.
class SignService final : public ISignService
{
public:
    QByteArray getJwkPublicKeyStr() override;
    bool generatePKCEParam(QString &codeVerifier, QString &codeChallenge) override;
    void reserved2() override {}
    bool signPopToken(const QString &method, const QString &uri, const QString &cv,
                      QByteArray &signature) override;
    bool signLoginData(const QByteArray &data, QByteArray &signature) override;

private:
    const SigningKey m_key;
};

} // namespace zefstandin
