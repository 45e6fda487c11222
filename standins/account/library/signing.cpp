#include "library/signing.h"

#include "jsontext.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QRandomGenerator>

#include <mbedtls/ecdsa.h>

#include <array>

namespace zefstandin {

namespace {

constexpr std::size_t kCoordinateBytes = 32; // of the curve P-256
constexpr std::size_t kPointBytes = 1 + 2 * kCoordinateBytes;

/// Initialised when it is made, freed with its scope.
template <typename Type, void (*init)(Type *), void (*free)(Type *)>
struct Scoped : Type
{
    Scoped() { init(this); }
    ~Scoped() { free(this); }
    Scoped(const Scoped &) = delete;
    Scoped &operator=(const Scoped &) = delete;
};

using Number = Scoped<mbedtls_mpi, mbedtls_mpi_init, mbedtls_mpi_free>;
using Point = Scoped<mbedtls_ecp_point, mbedtls_ecp_point_init, mbedtls_ecp_point_free>;

/// One for each operation: the library keeps tables in it, so that threads cannot share one.
struct Curve : Scoped<mbedtls_ecp_group, mbedtls_ecp_group_init, mbedtls_ecp_group_free>
{
    Curve() : isLoaded(mbedtls_ecp_group_load(this, MBEDTLS_ECP_DP_SECP256R1) == 0) {}
    const bool isLoaded;
};

/// The system's random numbers; the arithmetic also uses them to blind the key.
int fillRandom(void *, unsigned char *bytes, std::size_t size)
{
    QRandomGenerator::system()->generate(bytes, bytes + size);
    return 0;
}

} // namespace

QByteArray base64Url(const QByteArray &bytes)
{
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray randomBase64Url(int bytes)
{
    QByteArray random(bytes, '\0');
    QRandomGenerator::system()->generate(random.begin(), random.end());
    return base64Url(random);
}

QByteArray pkceChallenge(const QByteArray &verifier)
{
    return base64Url(QCryptographicHash::hash(verifier, QCryptographicHash::Sha256));
}

struct SigningKey::PrivateKey
{
    Number number;
};

SigningKey::SigningKey()
{
    Curve curve;
    Point point;
    const auto key = std::make_shared<PrivateKey>();
    std::array<unsigned char, kPointBytes> bytes{};
    std::size_t written = 0;
    if (!curve.isLoaded ||
        mbedtls_ecp_gen_keypair(&curve, &key->number, &point, fillRandom, nullptr) != 0 ||
        mbedtls_ecp_point_write_binary(&curve, &point, MBEDTLS_ECP_PF_UNCOMPRESSED, &written,
                                       bytes.data(), bytes.size()) != 0) {
        return;
    }

    const QByteArray coordinates(reinterpret_cast<const char *>(bytes.data()) + 1,
                                 2 * kCoordinateBytes);
    m_jwk = {{"kty", "EC"},
             {"crv", "P-256"},
             {"x", QString(base64Url(coordinates.left(kCoordinateBytes)))},
             {"y", QString(base64Url(coordinates.mid(kCoordinateBytes)))}};
    m_key = key;
    // RFC 7638: over the required members in the order of their names, without blanks.
    m_thumbprint =
        base64Url(QCryptographicHash::hash(compactJson(m_jwk), QCryptographicHash::Sha256));
}

QByteArray SigningKey::publicJwk() const
{
    if (!m_key) {
        return {};
    }
    QVariantMap jwk = m_jwk;
    jwk.insert("use", "sig");
    jwk.insert("alg", "ES256");
    jwk.insert("kid", m_thumbprint);
    return compactJson(jwk);
}

QByteArray SigningKey::signCompact(const QByteArray &payload, const char *type, bool hasKey) const
{
    QVariantMap header{{"alg", "ES256"}};
    if (*type) {
        header.insert("typ", type);
    }
    hasKey ? header.insert("jwk", m_jwk) : header.insert("kid", m_thumbprint);

    const QByteArray input = base64Url(compactJson(header)) + '.' + base64Url(payload);
    const QByteArray raw = signature(input);
    return raw.isEmpty() ? raw : input + '.' + base64Url(raw);
}

QByteArray SigningKey::signature(const QByteArray &input) const
{
    Curve curve;
    if (!m_key || !curve.isLoaded) {
        return {};
    }

    const QByteArray hash = QCryptographicHash::hash(input, QCryptographicHash::Sha256);
    const auto *data = reinterpret_cast<const unsigned char *>(hash.constData());
    Number r;
    Number s;
    std::array<unsigned char, 2 * kCoordinateBytes> raw{}; // JWS wants the numbers side by side
    if (mbedtls_ecdsa_sign_det_ext(&curve, &r, &s, &m_key->number, data, std::size_t(hash.size()),
                                   MBEDTLS_MD_SHA256, fillRandom, nullptr) != 0 ||
        mbedtls_mpi_write_binary(&r, raw.data(), kCoordinateBytes) != 0 ||
        mbedtls_mpi_write_binary(&s, raw.data() + kCoordinateBytes, kCoordinateBytes) != 0) {
        return {};
    }
    return {reinterpret_cast<const char *>(raw.data()), int(raw.size())};
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
