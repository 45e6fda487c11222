#include "jsonroad.h"

#include "support/loadedlibrary.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <dlfcn.h>

namespace {

QVariantMap success(const QVariant &output)
{
    return {{"result", "ok"},
            {"msg", "success"},
            {"data", QVariantMap{{"result", "ok"}, {"data", output}}}};
}

} // namespace

JsonRoad::JsonRoad()
    : m_modules{{"account", this}, {"network", this}, {"utils", this}, {"accessbase", this}}
{
    qRegisterMetaType<JsonRoad::Reply>("JsonRoad::Reply");
    void *log = dlopen((libraryFolder() + "/libvemolog.so").c_str(), RTLD_NOW);
    m_writeMessage = reinterpret_cast<WriteMessage>(dlsym(log, "writeMsg"));
}

void JsonRoad::call(const char *method, const char *params, bool isLogged,
                    const std::function<void(const char *, std::size_t)> &deliver)
{
    const QVariantMap map = QJsonDocument::fromJson(params).object().toVariantMap();
    const QStringList path = QString::fromUtf8(method).split('.');
    QVariantMap result;
    const Reply reply = [&result](const QVariantMap &given) { result = given; };
    QMetaObject::invokeMethod(m_modules.value(path.at(0)), path.at(1).toUtf8().constData(),
                              Qt::DirectConnection, Q_ARG(QVariantMap, map),
                              Q_ARG(JsonRoad::Reply, reply));
    const QByteArray text = QJsonDocument::fromVariant(result).toJson(QJsonDocument::Compact);
    deliver(text.constData(), std::size_t(text.size()));
    if (isLogged) {
        const QString line =
            QString("call call method:%1, params:%2, result:%3")
                .arg(QString::fromUtf8(method), QString::fromUtf8(params), QString::fromUtf8(text));
        m_writeMessage(L"Info", L"jsonroad", line.toStdWString().c_str());
    }
}

void JsonRoad::getJwkPublicKeyStr(const QVariantMap &, const Reply &reply)
{
    reply(success("no cost"));
}

void JsonRoad::signLoginData(const QVariantMap &params, const Reply &reply)
{
    const QByteArray data = params.value("signData").toString().toUtf8();
    reply(success(data.isEmpty() ? "" : "no cost"));
}

void JsonRoad::getDeviceHeader(const QVariantMap &params, const Reply &reply)
{
    const QVariantMap codes = params.value("deviceCode").toMap();
    QVariantMap header;
    for (auto code = codes.cbegin(); code != codes.cend(); ++code) {
        header.insert(code.key(), code.value().toString());
    }
    const QVariantMap request{{"header", header}};
    const QString text =
        QString::fromUtf8(QJsonDocument::fromVariant(request).toJson(QJsonDocument::Compact));
    reply(success(text.isEmpty() ? "none" : ""));
}
