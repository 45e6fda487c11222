#pragma once

#include "account/iaccountsdk.h"

#include <QNetworkCookieJar>

#include <mutex>

namespace zefstandin {

/// Cookies under the rules of Qt's cookie jar. Callable from any thread.
class CookieFactory final : public ICookieFactory
{
public:
    void reserved0() override {}
    QList<QNetworkCookie> cookiesForUrl(const QUrl &url) override;

    /// Takes "cookies" and "accountUrl" of a "standin" object.
    void configure(const QVariantMap &standin);

    /// A new session cookie for the account service; none for an empty user id.
    void setSession(const QString &userId);

private:
    struct Jar : QNetworkCookieJar
    {
        using QNetworkCookieJar::setAllCookies;
    };

    std::mutex m_mutex; // guards everything below
    Jar m_jar;
    QUrl m_accountUrl{"https://account.example.com/"};
    QNetworkCookie m_sessionCookie;
};

} // namespace zefstandin
