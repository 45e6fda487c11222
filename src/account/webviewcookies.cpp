#include "account/webviewcookies.h"

#include "account/accountservices.h"
#include "dispatch/reply.h"
#include "framework/jsontext.h"

#include <QStringList>

namespace {

QString cookieText(const QNetworkCookie &cookie, const QString &url)
{
    const QVariantMap entry{
        {QStringLiteral("name"), cookie.name()},
        {QStringLiteral("value"), cookie.value()},
        {QStringLiteral("httpOnly"), cookie.isHttpOnly()},
        {QStringLiteral("secure"), cookie.isSecure()},
        {QStringLiteral("path"), cookie.path()},
        // The point goes in front even of a domain that begins with one.
        {QStringLiteral("domain"), QString(QLatin1Char('.') + cookie.domain())},
        {QStringLiteral("url"), url},
        {QStringLiteral("sameSite"), QStringLiteral("no_restriction")},
    };
    return QString::fromUtf8(jsonTextFromMap(entry));
}

} // namespace

void replyWebviewCookies(const QVariantMap &params, const CallBackFunc &callback)
{
    ICookieFactory *factory = accountService(&IAccountSdk::getCookieFactory);
    if (!factory) {
        replyFail(callback, QStringLiteral("factory is nullptr"));
        return;
    }

    const QString url = params.value(QStringLiteral("url")).toString();
    const QList<QNetworkCookie> cookies = factory->cookiesForUrl(QUrl(url, QUrl::TolerantMode));
    QStringList texts;
    texts.reserve(cookies.size());
    for (const QNetworkCookie &cookie : cookies) {
        texts.append(cookieText(cookie, url));
    }
    replySuccess(callback, {{QStringLiteral("cookieList"), texts}});
}
