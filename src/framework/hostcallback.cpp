#include "framework/hostcallback.h"

#include "base/delivery.h"
#include "json/jsonwriter.h"

using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::kLengthNotGiven;

namespace {

void deliver(IElectronCallback *callback, const char *text, std::size_t length = kLengthNotGiven)
{
    if (!callback) {
        return;
    }
    guarded([=] { callback->onCallback(text, length); },
            [] { logError("onCallback", "exception from a host callback"); });
}

} // namespace

void deliverReply(IElectronCallback &callback, const QByteArray &text)
{
    deliver(&callback, text.constData(), static_cast<std::size_t>(text.size()));
}

CallBackFunc asynCallCompletion(IElectronCallback *callback)
{
    return [callback, run = Run::current()](const QVariantMap &reply) {
        deliverInRun(run, [callback, &reply] {
            const QByteArray text = jsonTextFromMap(reply);
            deliver(callback, text.constData());
            logInfo("operator()", "asynCall result:%1", {text});
            return true;
        });
    };
}

CallBackFunc listenerCompletion(IElectronCallback *callback)
{
    return [callback](const QVariantMap &event) {
        if (event.isEmpty()) {
            deliver(callback, "{}"); // every account event
            return;
        }
        deliver(callback, jsonTextFromMap(event).constData());
    };
}

CallBackFunc taskCompletion(IElectronCallback *callback)
{
    return [callback, run = Run::current()](const QVariantMap &message) {
        deliverInRun(run, [callback, &message] {
            deliver(callback, jsonTextFromMap(message).constData());
            return true;
        });
    };
}
