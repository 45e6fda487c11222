#include "library/cookiefactory.h"

#include "keeper/keeper.h"
#include "library/signing.h"

namespace zefstandin {

QList<QNetworkCookie> CookieFactory::cookiesForUrl(const QUrl &url)
{
    Keeper &keeper = Keeper::instance();
    if (keeper.isNoCost() || keeper.begin("cookiesForUrl", url.toEncoded()).refuse) {
        return {};
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_jar.cookiesForUrl(url);
}

void CookieFactory::configure(const QVariantMap &standin)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (standin.contains("accountUrl")) {
        m_accountUrl = QUrl(standin.value("accountUrl").toString());
    }
    if (!standin.contains("cookies")) {
        return;
    }

    m_jar.setAllCookies({});
    for (const QVariant &value : standin.value("cookies").toList()) {
        const QVariantMap cookie = value.toMap();
        m_jar.setCookiesFromUrl(
            QNetworkCookie::parseCookies(cookie.value("setCookie").toString().toUtf8()),
            QUrl(cookie.value("url").toString()));
    }
}

void CookieFactory::setSession(const QString &userId)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_jar.deleteCookie(m_sessionCookie);
    if (userId.isEmpty()) {
        return;
    }

    m_sessionCookie = QNetworkCookie("sid", randomBase64Url(24));
    m_sessionCookie.setHttpOnly(true);
    m_sessionCookie.setSecure(m_accountUrl.scheme() == "https");
    m_sessionCookie.setPath("/");
    m_sessionCookie.normalize(m_accountUrl);
    m_jar.insertCookie(m_sessionCookie);
}

} // namespace zefstandin
