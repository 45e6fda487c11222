#include "library/signservice.h"

#include "jsontext.h"
#include "keeper/keeper.h"

namespace zefstandin {

namespace {

const char *const kCheapOutput = "no cost";

bool isNoCost()
{
    return Keeper::instance().isNoCost();
}

/// Does what the script of an operation says, or signs. A refused operation still leaves something in
/// its output, as the contract allows.
template <typename Sign>
bool signAsScripted(const char *operation, const QVariantMap &arguments, bool isComplete,
                    QByteArray &signature, Sign sign)
{
    const Script script = Keeper::instance().begin(operation, compactJson(arguments));
    if (script.refuse || !isComplete) {
        signature = "undefined";
        return false;
    }
    signature = script.text ? script.text->toUtf8() : sign();
    return script.text || !signature.isEmpty();
}

bool answerCheaply(QByteArray &output)
{
    output = kCheapOutput;
    return true;
}

} // namespace

const SigningKey &SignService::key()
{
    std::call_once(m_isMade, [this] { m_key.emplace(); });
    return *m_key;
}

QByteArray SignService::getJwkPublicKeyStr()
{
    if (isNoCost()) {
        return kCheapOutput;
    }

    const Script script = Keeper::instance().begin("getJwkPublicKeyStr");
    if (script.text) {
        return script.text->toUtf8();
    }
    return script.refuse ? QByteArray() : key().publicJwk();
}

bool SignService::generatePKCEParam(QString &codeVerifier, QString &codeChallenge)
{
    if (isNoCost()) {
        codeVerifier = codeChallenge = kCheapOutput;
        return true;
    }

    if (Keeper::instance().begin("generatePKCEParam").refuse) {
        codeVerifier = "undefined";
        return false;
    }
    const QByteArray verifier = randomBase64Url(32);
    codeVerifier = verifier;
    codeChallenge = pkceChallenge(verifier);
    return !verifier.isEmpty();
}

bool SignService::signPopToken(const QString &method, const QString &uri, const QString &cv,
                               QByteArray &signature)
{
    if (isNoCost()) {
        return answerCheaply(signature);
    }

    const bool isComplete = !method.isEmpty() && !uri.isEmpty() && !cv.isEmpty();
    return signAsScripted(
        "signPopToken", {{"method", method}, {"uri", uri}, {"cv", cv}}, isComplete, signature,
        [&] { return key().signCompact(popClaims(method, uri, cv), "dpop+jwt", true); });
}

bool SignService::signLoginData(const QByteArray &data, QByteArray &signature)
{
    if (isNoCost()) {
        return answerCheaply(signature);
    }

    return signAsScripted("signLoginData", {{"data", QString::fromUtf8(data)}}, !data.isEmpty(),
                          signature, [&] { return key().signCompact(data, "", false); });
}

} // namespace zefstandin
