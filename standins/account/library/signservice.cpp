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

/// Steps that every signing operation shares. \return what the script says.
Script begin(const char *operation, const QVariantMap &arguments)
{
    Keeper &keeper = Keeper::instance();
    keeper.recordCall(operation, arguments.isEmpty() ? QByteArray() : compactJson(arguments));
    const Script script = keeper.decide(operation);
    script.sleep();
    script.throwIfScripted();
    return script;
}

/// A refused operation still leaves something in its output, as the contract allows.
bool refuse(QByteArray &output)
{
    output = "undefined";
    return false;
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

    const Script script = begin("getJwkPublicKeyStr", {});
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

    if (begin("generatePKCEParam", {}).refuse) {
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

    const Script script = begin("signPopToken", {{"method", method}, {"uri", uri}, {"cv", cv}});
    if (script.refuse || method.isEmpty() || uri.isEmpty() || cv.isEmpty()) {
        return refuse(signature);
    }
    signature = script.text ? script.text->toUtf8()
                            : key().signCompact(popClaims(method, uri, cv), "dpop+jwt", true);
    return script.text || !signature.isEmpty();
}

bool SignService::signLoginData(const QByteArray &data, QByteArray &signature)
{
    if (isNoCost()) {
        return answerCheaply(signature);
    }

    const Script script = begin("signLoginData", {{"data", QString::fromUtf8(data)}});
    if (script.refuse || data.isEmpty()) {
        return refuse(signature);
    }
    signature = script.text ? script.text->toUtf8() : key().signCompact(data, "", false);
    return script.text || !signature.isEmpty();
}

} // namespace zefstandin
