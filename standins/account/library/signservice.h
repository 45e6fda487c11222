#pragma once

#include "account/iaccountsdk.h"
#include "library/signing.h"

#include <mutex>
#include <optional>

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
    const SigningKey &key();

    std::once_flag m_isMade;
    std::optional<SigningKey> m_key; ///< made when it is first used: starting costs no key
};

} // namespace zefstandin
