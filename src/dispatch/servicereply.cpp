#include "dispatch/servicereply.h"

#include "dispatch/reply.h"
#include "json/jsonwriter.h"

namespace {

template <typename Output>
void reply(const CallBackFunc &callback, void (JsonWriter::*write)(const Output &),
           const Output &output)
{
    JsonWriter data;
    data.append(QLatin1String(R"({"data":)"));
    (data.*write)(output);
    data.append(QLatin1String(R"(,"result":"ok"})"));
    replyJson(callback, JsonText{data.take()});
}

} // namespace

void replyOutput(const CallBackFunc &callback, const QString &output)
{
    reply(callback, &JsonWriter::string, output);
}

void replyOutput(const CallBackFunc &callback, const QByteArray &output)
{
    reply(callback, &JsonWriter::bytes, output);
}

void replyOutput(const CallBackFunc &callback, const QVariantMap &output)
{
    reply(callback, &JsonWriter::map, output);
}
