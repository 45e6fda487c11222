#pragma once

#include "support/loadedlibrary.h"
#include "support/recorder.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

/// What boundary tests do over and over with the running library.
class HostFixture
{
public:
    /// Resets both stand-ins and starts with the given "standin" object, JSON text.
    bool start(const std::string &standin = "{}")
    {
        library.log().reset();
        library.account().reset();
        return library.start(R"(,"standin":)" + standin);
    }

    /// The reply of one asynCall; "false" when it was not queued.
    QByteArray asynCall(const char *method, const QByteArray &params = "{}")
    {
        Recorder recorder;
        return framework.asynCall(method, params, &recorder) ? recorder.text() : "false";
    }

    /// The reply of one synchronous call.
    QByteArray call(const char *method, const QByteArray &params = "{}")
    {
        Recorder recorder;
        return framework.call(method, params, &recorder) ? recorder.text(0) : "false";
    }

    bool script(const char *operation, const char *json)
    {
        return library.account().script(operation, json);
    }

    /// The arguments of all calls of one operation that reached the account library, in order.
    QByteArrayList argumentsOf(const char *operation)
    {
        QByteArrayList arguments;
        for (const zefstandin::Call &call : library.account().calls()) {
            if (call.name == operation) {
                arguments.append(QByteArray::fromStdString(call.argument));
            }
        }
        return arguments;
    }

    /// Whether everything that takes a context object was given one, and at least one thing was.
    bool hasContexts()
    {
        int given = 0;
        for (const zefstandin::Call &call : library.account().calls()) {
            const bool takesContext =
                call.name == "registerMessageTask" || call.name.rfind("submit ", 0) == 0;
            if (takesContext && !call.hasContext) {
                return false;
            }
            given += takesContext;
        }
        return given > 0;
    }

    LoadedLibrary &library = LoadedLibrary::instance();
    zelectronframeworkspace::IElectronFramework &framework = library.framework();
};

/// The reply that names a failure.
inline QByteArray failure(const QByteArray &message)
{
    return R"({"msg":")" + message + R"(","result":"fail"})";
}

/// A member of the "data" of a reply.
inline QJsonValue dataOf(const QByteArray &reply, const char *key)
{
    return QJsonDocument::fromJson(reply).object().value("data").toObject().value(
        QLatin1String(key));
}
