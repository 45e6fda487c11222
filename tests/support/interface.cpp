#include "support/interface.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const char *const kResult = R"("result":)";
const char *const kOffThread = "not support thread safe";

Request requestOf(const QJsonObject &method, std::size_t &queueCount)
{
    QJsonObject params;
    for (const auto &given : method["examples"].toArray()[0].toObject()["params"].toArray()) {
        params.insert(given.toObject()["name"].toString(), given.toObject()["value"]);
    }
    const bool isLater = method["x-answer"] == QJsonValue("library thread");
    return {method["name"].toString().toStdString(),
            QJsonDocument(params).toJson(QJsonDocument::Compact).toStdString(), kResult,
            method["x-threadSafe"].toBool() ? kResult : kOffThread, isLater ? queueCount++ : 0};
}

Task taskOf(const QJsonObject &task)
{
    Task found{task["name"].toString().toStdString(), {}};
    for (const QJsonValue message : task["message"].toObject()["oneOf"].toArray()) {
        const QJsonValue dataType = message["properties"]["dataType"]["const"];
        found.dataTypes.push_back(dataType.toString().toStdString());
    }
    return found;
}

Interface readInterface()
{
    QFile file(ZEF_SOURCE_DIR "/interface/modules.json");
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("no interface/modules.json");
    }
    const QJsonObject modules = QJsonDocument::fromJson(file.readAll()).object();
    Interface found;
    for (const auto &method : modules["methods"].toArray()) {
        found.requests.push_back(requestOf(method.toObject(), found.queueCount));
    }
    for (const auto &event : modules["x-events"].toArray()) {
        found.events.push_back(event.toObject()["name"].toString().toStdString());
    }
    for (const auto &task : modules["x-tasks"].toArray()) {
        found.tasks.push_back(taskOf(task.toObject()));
    }
    const std::vector<Request> misses{
        {"utils", "[]", "Wrong number of arguments", "Wrong number of arguments", 0},
        {"nowhere.method", "{}", "nowhere not found", "nowhere not found", 0},
        {"utils.nothing", "{", "method:nothing asynCall failed", kOffThread, 0},
        {"accessbase.getDeviceHeader", "{}", "deviceCode is empty", "deviceCode is empty", 0},
        {"network.setCustomDomain", "{}", "param is empty", kOffThread, 0},
        {"account.signPopToken", "{}", "sign failed", "sign failed", 0},
    };
    found.requests.insert(found.requests.end(), misses.begin(), misses.end());
    return found;
}

} // namespace

const Interface &Interface::instance()
{
    static const Interface &read = *new Interface(readInterface());
    return read;
}
