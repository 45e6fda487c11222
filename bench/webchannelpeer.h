#pragma once

#include <QJsonObject>
#include <QWebChannel>
#include <QWebChannelAbstractTransport>

#include <functional>
#include <memory>
#include <vector>

/// What is published over the channel: one method as cheap as that of the stand-ins, one signal.
class PublishedObject : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    QJsonObject getJwkPublicKeyStr(const QJsonObject &params);

Q_SIGNALS:
    void cookieUpdated();
};

/// A transport within the process: texts in, texts out, as a host has them.
class TextTransport : public QWebChannelAbstractTransport
{
    Q_OBJECT

public:
    using Deliver = std::function<void(const char *, std::size_t)>;

    explicit TextTransport(Deliver deliver) : m_deliver(std::move(deliver)) {}

    void receive(const char *text);
    void sendMessage(const QJsonObject &message) override;

private:
    const Deliver m_deliver;
};

/// Qt WebChannel with clients within the process. Everything happens on the thread that made it.
class WebChannelPeer
{
public:
    WebChannelPeer(int clients, const TextTransport::Deliver &deliver);

    /// The text of a message that calls the method with {}.
    QByteArray callText() const;

    /// Sends a message of the first client; the reply comes before it returns.
    void receive(const char *text) { m_transports.front()->receive(text); }

    /// Raises the signal to which every client is connected.
    void raise();

private:
    PublishedObject m_object;
    QWebChannel m_channel;
    std::vector<std::unique_ptr<TextTransport>> m_transports;
};
