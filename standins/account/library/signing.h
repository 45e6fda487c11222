#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <memory>

namespace zefstandin {

/// 32 random bytes give 43 characters, and so on.
QByteArray randomBase64Url(int bytes);

QByteArray base64Url(const QByteArray &bytes);

/// The S256 challenge of a PKCE code verifier (RFC 7636).
QByteArray pkceChallenge(const QByteArray &verifier);

/// A P-256 key that exists in memory only. Callable from several threads.
///
/// Signatures are deterministic (RFC 6979): one text signed twice has one signature.
class SigningKey
{
public:
    SigningKey();

    /// The public key as JSON Web Key (RFC 7517) with its thumbprint as "kid"; empty on failure.
    QByteArray publicJwk() const;

    /// A compact JSON Web Signature (RFC 7515) with ES256; empty on failure.
    /// \param type  the header's "typ"; left out when empty.
    /// \param hasKey puts the whole public key in the header instead of its "kid".
    QByteArray signCompact(const QByteArray &payload, const char *type, bool hasKey) const;

private:
    struct PrivateKey;

    QByteArray signature(const QByteArray &input) const;

    std::shared_ptr<const PrivateKey> m_key; // null when none could be made
    QVariantMap m_jwk;                       // the public key's members that every use has
    QString m_thumbprint;
};

/// The claims of a proof-of-possession token (RFC 9449) with the further claim "cv".
QByteArray popClaims(const QString &method, const QString &uri, const QString &cv);

} // namespace zefstandin
