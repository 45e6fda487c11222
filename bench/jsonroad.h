#pragma once

#include <QHash>
#include <QObject>
#include <QVariantMap>

#include <functional>

/// The same bridge by Qt's own means: text to QJsonDocument to map, a slot invoked by its name, map
/// to QJsonDocument to text, and the log line put together with QString::arg().
class JsonRoad : public QObject
{
    Q_OBJECT

public:
    using Reply = std::function<void(const QVariantMap &)>;

    JsonRoad();

    /// Gives the reply's text to the function; writes the log line when asked to.
    void call(const char *method, const char *params, bool isLogged,
              const std::function<void(const char *, std::size_t)> &deliver);

public Q_SLOTS:
    void getJwkPublicKeyStr(const QVariantMap &params, const JsonRoad::Reply &reply);
    void signLoginData(const QVariantMap &params, const JsonRoad::Reply &reply);
    void getDeviceHeader(const QVariantMap &params, const JsonRoad::Reply &reply);

private:
    using WriteMessage = void (*)(const wchar_t *, const wchar_t *, const wchar_t *);

    QHash<QString, QObject *> m_modules;
    WriteMessage m_writeMessage = nullptr;
};

Q_DECLARE_METATYPE(JsonRoad::Reply)
