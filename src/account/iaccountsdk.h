#pragma once

#include "account/accountrecords.h"
#include "base/callbackfunc.h"
#include "log/izelectronlogproxy.h"

#include <QByteArray>
#include <QList>
#include <QNetworkCookie>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <memory>

/// \file
/// Interfaces of the closed account library, as far as they are used here.
///
/// They are binary contracts: the order of the virtual functions is the order of the slots, counted
/// from 0. Slots named reserved... are operations that are never called from here; they keep the
/// positions of the later ones. None of these classes has a virtual destructor: the library owns
/// every object behind them. Unless it says otherwise, an operation may be called from any thread.

class IMessageTaskContext;

/// Completion of a submitted task. A status below 100 means that the task has not finished.
using TaskCallback = std::function<bool(const int &status, const QVariantMap &reply)>;

/// Receives the messages registered with IMessageTaskRegistry, on library threads.
using MessageTaskHandler = std::function<bool(std::weak_ptr<IMessageTaskContext>)>;

/// The accounts known on this machine. References stay valid until the account state changes.
class IAccount
{
public:
    virtual void reserved0() = 0;
    virtual bool isKeepOnline() = 0;
    virtual void reserved2() = 0;
    virtual const QString &currentUserId() = 0;
    virtual const AccountAuthInfo &authInfo() = 0;
    virtual const AccountUserInfo &userInfo() = 0;
    virtual void reserved6() = 0;
    virtual const QList<AccountListItem> &accountList() = 0;

protected:
    ~IAccount() = default;
};

/// Passes named tasks to the applications of the office suite.
class IScheduler
{
public:
    virtual void reserved0() = 0;
    virtual void reserved1() = 0;

    /// Submits one task; the completion may be called on any thread, also from inside this call.
    /// \return false when the task is refused; the completion is not called then.
    virtual bool submit(const QStringList &appIds, const QString &taskName,
                        const QVariantMap &params, const QPointer<QObject> &context,
                        const TaskCallback &completion) = 0;

protected:
    ~IScheduler() = default;
};

/// One message of the office suite, owned by the library through shared ownership.
class IMessageTaskContext
{
public:
    virtual void reserved0() = 0;
    virtual void reserved1() = 0;
    virtual void reserved2() = 0;
    virtual void reserved3() = 0;
    virtual const QVariantMap &messageData() = 0;

protected:
    ~IMessageTaskContext() = default;
};

/// Delivers the office suite's messages. A registration cannot be removed.
class IMessageTaskRegistry
{
public:
    virtual void registerMessageTask(const QString &messageName, const QString &taskName,
                                     QObject *context, const MessageTaskHandler &handler) = 0;

protected:
    ~IMessageTaskRegistry() = default;
};

/// Changes the sign-in state. Each operation calls its completion at any time, on any thread.
class ILoginService
{
public:
    virtual void loginCallback(const QVariantMap &params, const CallBackFunc &completion) = 0;
    virtual void logout(const QVariantMap &params, const CallBackFunc &completion) = 0;
    virtual void switchAccount(const QVariantMap &params, const CallBackFunc &completion) = 0;
    virtual void upgradeAccount(const QVariantMap &params, const CallBackFunc &completion) = 0;
    virtual void downgradeAccount(const QVariantMap &params, const CallBackFunc &completion) = 0;
    virtual void updateAccountInfo(const QVariantMap &params, const CallBackFunc &completion) = 0;
    virtual void getUrlWithAuthorizeCode(const QVariantMap &params,
                                         const CallBackFunc &completion) = 0;

protected:
    ~ILoginService() = default;
};

/// Signs with the key of this machine. A false result leaves the outputs undefined.
class ISignService
{
public:
    virtual QByteArray getJwkPublicKeyStr() = 0;
    virtual bool generatePKCEParam(QString &codeVerifier, QString &codeChallenge) = 0;
    virtual void reserved2() = 0;
    virtual bool signPopToken(const QString &method, const QString &uri, const QString &cv,
                              QByteArray &signature) = 0;
    virtual bool signLoginData(const QByteArray &data, QByteArray &signature) = 0;

protected:
    ~ISignService() = default;
};

/// The cookies of the signed-in accounts.
class ICookieFactory
{
public:
    virtual void reserved0() = 0;
    virtual QList<QNetworkCookie> cookiesForUrl(const QUrl &url) = 0;

protected:
    ~ICookieFactory() = default;
};

/// Collects account information for the host.
class IInfoCollectHandler
{
public:
    virtual void reserved0() = 0;

    /// \return false when the library refuses the callback.
    virtual bool registerCollectCallback(const CallBackFunc &callback) = 0;

protected:
    ~IInfoCollectHandler() = default;
};

/// Describes this device.
class IAccessbaseService
{
public:
    virtual QString getDeviceInfo() = 0;
    virtual QString getDeviceNetworkStatus() = 0;

    /// \param request JSON text {"header":{code:text, ...}}.
    virtual QString getDeviceHeader(const QString &request) = 0;

protected:
    ~IAccessbaseService() = default;
};

/// Holds custom domains.
class IDomainMgr
{
public:
    virtual void setDomain(const QString &key, const QString &value) = 0;

protected:
    ~IDomainMgr() = default;
};

/// The root interface, returned by GetInterface and owned by the library.
class IAccountSdk
{
public:
    /// Called once, on the host thread, before anything else.
    /// \param params   the settings of the host.
    /// \param logProxy may be null; may be kept and used until uninit returns.
    virtual bool init(const QVariantMap &params, IZElectronLogProxy *logProxy) = 0;

    /// Called once, on the host thread; nothing is called afterwards.
    virtual void uninit() = 0;

    /// The object that raises the signals which ZAccountSdkProxy declares as well, on any thread. May
    /// be null.
    virtual QObject *notifier() = 0;

    // Each of these may return null at any time; the results are never stored.
    virtual IAccount *getAccount() = 0;
    virtual IScheduler *getScheduler() = 0;
    virtual IMessageTaskRegistry *getMessageTaskRegistry() = 0;
    virtual ILoginService *getLoginService() = 0;
    virtual ISignService *getSignService() = 0;
    virtual ICookieFactory *getCookieFactory() = 0;
    virtual IInfoCollectHandler *getInfoCollectHandler() = 0;
    virtual IAccessbaseService *getAccessbaseService() = 0;
    virtual IDomainMgr *getDomainMgr() = 0;

protected:
    ~IAccountSdk() = default;
};
