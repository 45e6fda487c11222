#include "account/webviewcookies.h"

#include "account/accountservices.h"
#include "json/jsonobjecttexts.h"

namespace {

const auto kSameSite = QStringLiteral("no_restriction");

/// Keys in ascending order.
void addCookie(JsonObjectTexts &texts, const QNetworkCookie &cookie, const QString &url)
{
    // A dot is added even if the domain already begins with one.
    texts.add(QLatin1String("domain"), QString(QLatin1Char('.') + cookie.domain()));
    texts.add(QLatin1String("httpOnly"), cookie.isHttpOnly());
    texts.add(QLatin1String("name"), cookie.name());
    texts.add(QLatin1String("path"), cookie.path());
    texts.add(QLatin1String("sameSite"), kSameSite);
    texts.add(QLatin1String("secure"), cookie.isSecure());
    texts.add(QLatin1String("url"), url);
    texts.add(QLatin1String("value"), cookie.value());
    texts.endObject();
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
    JsonObjectTexts texts;
    for (const QNetworkCookie &cookie : cookies) {
        addCookie(texts, cookie, url);
    }
    replySuccess(callback, {{QStringLiteral("cookieList"), texts.take().toVariant()}});
}
