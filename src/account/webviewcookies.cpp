#include "account/webviewcookies.h"

#include "account/accountservices.h"
#include "json/jsonobjecttext.h"

#include <QStringList>

namespace {

const auto kSameSite = QStringLiteral("no_restriction");

/// One cookie's text, keys in ascending order.
QString cookieText(JsonObjectText &entry, const QNetworkCookie &cookie, const QString &url)
{
    // The point goes in front even of a domain that begins with one.
    entry.add(QLatin1String("domain"), QString(QLatin1Char('.') + cookie.domain()));
    entry.add(QLatin1String("httpOnly"), cookie.isHttpOnly());
    entry.add(QLatin1String("name"), cookie.name());
    entry.add(QLatin1String("path"), cookie.path());
    entry.add(QLatin1String("sameSite"), kSameSite);
    entry.add(QLatin1String("secure"), cookie.isSecure());
    entry.add(QLatin1String("url"), url);
    entry.add(QLatin1String("value"), cookie.value());
    return entry.take();
}

} // namespace

void replyWebviewCookies(const QVariantMap &params, const CallBackFunc &callback)
{
    ICookieFactory *factory = serviceOrReply(&IAccountSdk::getCookieFactory,
                                             QStringLiteral("factory is nullptr"), callback);
    if (!factory) {
        return;
    }

    const QString url = params.value(QStringLiteral("url")).toString();
    const QList<QNetworkCookie> cookies = factory->cookiesForUrl(QUrl(url, QUrl::TolerantMode));
    JsonObjectText entry;
    QStringList texts;
    texts.reserve(cookies.size());
    for (const QNetworkCookie &cookie : cookies) {
        texts.append(cookieText(entry, cookie, url));
    }
    replySuccess(callback, {{QStringLiteral("cookieList"), texts}});
}
