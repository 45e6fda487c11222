#include "account/zaccounthandler.h"

#include "account/accountlist.h"
#include "account/loginrequest.h"
#include "account/officelogin.h"
#include "account/signing.h"
#include "account/webviewcookies.h"

namespace {

const auto kServiceMissing = QStringLiteral("service is nullptr");

void loginWith(const QString &loginType, const QVariantMap &params, const CallBackFunc &callback)
{
    QVariantMap typed = params;
    typed.insert(QStringLiteral("loginType"), loginType);
    passToLoginService(&ILoginService::loginCallback, typed, callback, kServiceMissing);
}

} // namespace

ZAccountHandler::ZAccountHandler(QObject *parent)
    : ZMessageHandlerBase(
          parent, {QStringLiteral("queryWebviewCookies"), QStringLiteral("getJwkPublicKeyStr"),
                   QStringLiteral("signPopToken"), QStringLiteral("signLoginData"),
                   QStringLiteral("generatePKCEParam"), QStringLiteral("getAccountListInfo")})
{
}

void ZAccountHandler::loginCallback(const QVariantMap &params, const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::loginCallback, params, callback);
}

void ZAccountHandler::queryWebviewCookies(const QVariantMap &params, const CallBackFunc &callback)
{
    replyWebviewCookies(params, callback);
}

void ZAccountHandler::quickLogin(const QVariantMap &params, const CallBackFunc &callback)
{
    loginThroughOffice(this, params, callback);
}

void ZAccountHandler::getJwkPublicKeyStr(const QVariantMap &, const CallBackFunc &callback)
{
    replyPublicKey(callback);
}

void ZAccountHandler::signPopToken(const QVariantMap &params, const CallBackFunc &callback)
{
    replyPopToken(params, callback);
}

void ZAccountHandler::signLoginData(const QVariantMap &params, const CallBackFunc &callback)
{
    replyLoginSignature(params, callback);
}

void ZAccountHandler::generatePKCEParam(const QVariantMap &, const CallBackFunc &callback)
{
    replyPkcePair(callback);
}

void ZAccountHandler::logout(const QVariantMap &params, const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::logout, params, callback);
}

void ZAccountHandler::getAccountListInfo(const QVariantMap &, const CallBackFunc &callback)
{
    replyAccountList(callback);
}

void ZAccountHandler::getOfficeUserInfo(const QVariantMap &, const CallBackFunc &callback)
{
    requestOfficeUser(this, callback);
}

void ZAccountHandler::switchAccount(const QVariantMap &params, const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::switchAccount, params, callback);
}

void ZAccountHandler::upgradeAccount(const QVariantMap &params, const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::upgradeAccount, params, callback);
}

void ZAccountHandler::downgradeAccount(const QVariantMap &params, const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::downgradeAccount, params, callback);
}

void ZAccountHandler::updateAccountInfo(const QVariantMap &params, const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::updateAccountInfo, params, callback);
}

void ZAccountHandler::getUrlWithAuthorizeCode(const QVariantMap &params,
                                              const CallBackFunc &callback)
{
    passToLoginService(&ILoginService::getUrlWithAuthorizeCode, params, callback, kServiceMissing);
}

void ZAccountHandler::loginWithSsid(const QVariantMap &params, const CallBackFunc &callback)
{
    loginWith(QStringLiteral("ssid"), params, callback);
}

void ZAccountHandler::loginWithRandcode(const QVariantMap &params, const CallBackFunc &callback)
{
    loginWith(QStringLiteral("randcode"), params, callback);
}
