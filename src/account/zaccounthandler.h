#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "account". Parameters that are absent read as empty.
///
/// | method                  | parameters                          | data on success              |
/// |-------------------------|-------------------------------------|------------------------------|
/// | loginCallback           | passed on whole                     | the account library's reply  |
/// | queryWebviewCookies     | "url": text                         | "cookieList": list of texts  |
/// | quickLogin              | "extParam": object,                 | the account library's reply, |
/// |                         | "keepOnline": bool, "userId": text  | after the office suite's     |
/// | getJwkPublicKeyStr      | none                                | "result": "ok", "data": text |
/// | signPopToken            | "method", "uri", "cv": texts        | "result": "ok", "data": text |
/// | signLoginData           | "signData": text                    | "result": "ok", "data": text |
/// | generatePKCEParam       | none                                | "result": "ok", "data":      |
/// |                         |                                     | {"code_verifier": text,      |
/// |                         |                                     | "code_challenge": text}      |
/// | logout                  | passed on whole                     | the account library's reply  |
/// | getAccountListInfo      | none                                | "accountListInfo": texts     |
/// | getOfficeUserInfo       | none                                | the office suite's result    |
/// | switchAccount           | passed on whole                     | the account library's reply  |
/// | upgradeAccount          | passed on whole                     | the account library's reply  |
/// | downgradeAccount        | passed on whole                     | the account library's reply  |
/// | updateAccountInfo       | passed on whole                     | the account library's reply  |
/// | getUrlWithAuthorizeCode | passed on whole                     | the account library's reply  |
/// | loginWithSsid           | passed on, "loginType": "ssid"      | the account library's reply  |
/// | loginWithRandcode       | passed on, "loginType": "randcode"  | the account library's reply  |
///
/// Failure texts: "sercice is nullptr", "service is nullptr", "scheduler is nullptr",
/// "sumbit failed", "account is nullptr", "already logined user", "getUserInfo failed",
/// "factory is nullptr", "sign failed", "generatePKCEParam failed".
///
/// Thread-safe: queryWebviewCookies, getJwkPublicKeyStr, signPopToken, signLoginData,
/// generatePKCEParam, getAccountListInfo.
class ZAccountHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    explicit ZAccountHandler(QObject *parent);

public Q_SLOTS:
    void loginCallback(const QVariantMap &params, const CallBackFunc &callback);
    void queryWebviewCookies(const QVariantMap &params, const CallBackFunc &callback);
    void quickLogin(const QVariantMap &params, const CallBackFunc &callback);
    void getJwkPublicKeyStr(const QVariantMap &params, const CallBackFunc &callback);
    void signPopToken(const QVariantMap &params, const CallBackFunc &callback);
    void signLoginData(const QVariantMap &params, const CallBackFunc &callback);
    void generatePKCEParam(const QVariantMap &params, const CallBackFunc &callback);
    void logout(const QVariantMap &params, const CallBackFunc &callback);
    void getAccountListInfo(const QVariantMap &params, const CallBackFunc &callback);
    void getOfficeUserInfo(const QVariantMap &params, const CallBackFunc &callback);
    void switchAccount(const QVariantMap &params, const CallBackFunc &callback);
    void upgradeAccount(const QVariantMap &params, const CallBackFunc &callback);
    void downgradeAccount(const QVariantMap &params, const CallBackFunc &callback);
    void updateAccountInfo(const QVariantMap &params, const CallBackFunc &callback);
    void getUrlWithAuthorizeCode(const QVariantMap &params, const CallBackFunc &callback);
    void loginWithSsid(const QVariantMap &params, const CallBackFunc &callback);
    void loginWithRandcode(const QVariantMap &params, const CallBackFunc &callback);
};
