#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "account". docs/MODULES.md tells what its methods take, reply and fail with.
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
