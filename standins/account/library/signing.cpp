#include "library/signing.h"

#include "jsontext.h"

#include <QCryptographicHash>
#include <QDateTime>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/rand.h>

namespace zefstandin {

namespace {

constexpr int kCoordinateBytes = 32; // of the curve P-256

template <typename Type, void (*destroy)(Type *)>
struct Free
{
    void operator()(Type *object) const { destroy(object); }
};

using BigNumber = std::unique_ptr<BIGNUM, Free<BIGNUM, BN_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Free<EVP_MD_CTX, EVP_MD_CTX_free>>;
using EcdsaPair = std::unique_ptr<ECDSA_SIG, Free<ECDSA_SIG, ECDSA_SIG_free>>;

QByteArray fixedBytes(const BIGNUM *number)
{
    QByteArray bytes(kCoordinateBytes, '\0');
    auto *data = reinterpret_cast<unsigned char *>(bytes.data());
    return BN_bn2binpad(number, data, kCoordinateBytes) == kCoordinateBytes ? bytes : QByteArray();
}

/// JWS wants the two numbers side by side, OpenSSL gives them in DER.
QByteArray rawSignature(const QByteArray &der)
{
    const auto *data = reinterpret_cast<const unsigned char *>(der.constData());
    const EcdsaPair pair(d2i_ECDSA_SIG(nullptr, &data, der.size()));
    if (!pair) {
        return {};
    }
    return fixedBytes(ECDSA_SIG_get0_r(pair.get())) + fixedBytes(ECDSA_SIG_get0_s(pair.get()));
}

} // namespace

QByteArray base64Url(const QByteArray &bytes)
{
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray randomBase64Url(int bytes)
{
    QByteArray random(bytes, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(random.data()), bytes) != 1) {
        return {};
    }
    return base64Url(random);
}

QByteArray pkceChallenge(const QByteArray &verifier)
{
    return base64Url(QCryptographicHash::hash(verifier, QCryptographicHash::Sha256));
}

SigningKey::SigningKey() : m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"), EVP_PKEY_free)
{
    m_x = coordinate(OSSL_PKEY_PARAM_EC_PUB_X);
    m_y = coordinate(OSSL_PKEY_PARAM_EC_PUB_Y);
    // RFC 7638: the required members in this order, without blanks.
    const QByteArray members =
        R"({"crv":"P-256","kty":"EC","x":")" + m_x + R"(","y":")" + m_y + R"("})";
    m_thumbprint = base64Url(QCryptographicHash::hash(members, QCryptographicHash::Sha256));
}

QByteArray SigningKey::coordinate(const char *name) const
{
    BIGNUM *number = nullptr;
    if (!m_key || EVP_PKEY_get_bn_param(m_key.get(), name, &number) != 1) {
        return {};
    }
    return base64Url(fixedBytes(BigNumber(number).get()));
}

QByteArray SigningKey::publicJwk() const
{
    if (m_x.isEmpty() || m_y.isEmpty()) {
        return {};
    }
    return compactJson({{"kty", "EC"},
                        {"crv", "P-256"},
                        {"x", QString(m_x)},
                        {"y", QString(m_y)},
                        {"use", "sig"},
                        {"alg", "ES256"},
                        {"kid", QString(m_thumbprint)}});
}

QByteArray SigningKey::signCompact(const QByteArray &payload, const char *type, bool hasKey) const
{
    QVariantMap header{{"alg", "ES256"}};
    if (*type) {
        header.insert("typ", type);
    }
    if (hasKey) {
        const QVariantMap jwk{
            {"kty", "EC"}, {"crv", "P-256"}, {"x", QString(m_x)}, {"y", QString(m_y)}};
        header.insert("jwk", jwk);
    } else {
        header.insert("kid", QString(m_thumbprint));
    }

    const QByteArray input = base64Url(compactJson(header)) + '.' + base64Url(payload);
    const QByteArray raw = signature(input);
    return raw.size() == 2 * kCoordinateBytes ? input + '.' + base64Url(raw) : QByteArray();
}

QByteArray SigningKey::signature(const QByteArray &input) const
{
    const DigestContext context(EVP_MD_CTX_new());
    if (!m_key || !context ||
        EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, m_key.get()) != 1) {
        return {};
    }

    const auto *data = reinterpret_cast<const unsigned char *>(input.constData());
    const auto length = std::size_t(input.size());
    std::size_t derLength = 0;
    if (EVP_DigestSign(context.get(), nullptr, &derLength, data, length) != 1) {
        return {};
    }
    QByteArray der(int(derLength), '\0');
    auto *out = reinterpret_cast<unsigned char *>(der.data());
    if (EVP_DigestSign(context.get(), out, &derLength, data, length) != 1) {
        return {};
    }
    der.truncate(int(derLength));
    return rawSignature(der);
}

QByteArray popClaims(const QString &method, const QString &uri, const QString &cv)
{
    return compactJson({{"htm", method},
                        {"htu", uri},
                        {"cv", cv},
                        {"iat", QDateTime::currentSecsSinceEpoch()},
                        {"jti", QString(randomBase64Url(16))}});
}

} // namespace zefstandin
