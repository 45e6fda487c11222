#include "webchannelpeer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaMethod>

namespace {

// Message types of the channel's protocol.
constexpr int kInvokeMethod = 6;
constexpr int kConnectToSignal = 7;

QByteArray textOf(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

QJsonObject PublishedObject::getJwkPublicKeyStr(const QJsonObject &)
{
    return {{"result", "ok"},
            {"msg", "success"},
            {"data", QJsonObject{{"result", "ok"}, {"data", "no cost"}}}};
}

void TextTransport::receive(const char *text)
{
    Q_EMIT messageReceived(QJsonDocument::fromJson(text).object(), this);
}

void TextTransport::sendMessage(const QJsonObject &message)
{
    const QByteArray text = textOf(message);
    m_deliver(text.constData(), std::size_t(text.size()));
}

WebChannelPeer::WebChannelPeer(int clients, const TextTransport::Deliver &deliver)
{
    m_channel.registerObject("published", &m_object);
    for (int client = 0; client < clients; ++client) {
        m_transports.push_back(std::make_unique<TextTransport>(deliver));
        m_channel.connectTo(m_transports.back().get());
    }
    const int signal = m_object.metaObject()->indexOfSignal("cookieUpdated()");
    receive(textOf({{"type", kConnectToSignal}, {"object", "published"}, {"signal", signal}}));
}

QByteArray WebChannelPeer::callText() const
{
    const int method = m_object.metaObject()->indexOfMethod("getJwkPublicKeyStr(QJsonObject)");
    return textOf({{"type", kInvokeMethod},
                   {"id", 1},
                   {"object", "published"},
                   {"method", method},
                   {"args", QJsonArray{QJsonObject()}}});
}

void WebChannelPeer::raise()
{
    Q_EMIT m_object.cookieUpdated();
}
