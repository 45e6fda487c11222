#include "framework/hostcallback.h"

#include "base/delivery.h"

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

void deliverReply(IElectronCallback &callback, JsonWriter &text, const RunScope &operation)
{
    const HostCodeScope hostCode(operation);
    deliver(&callback, text.text(), static_cast<std::size_t>(text.length()));
}

CallBackFunc asynCallCompletion(IElectronCallback *callback)
{
    return [callback, run = Run::current()](const QVariantMap &reply) {
        deliverInRun(run, [callback, &reply] {
            JsonWriter text(reply);
            deliver(callback, text.text());
            logInfo("operator()", "asynCall result:%1", {{text.text(), text.length()}});
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
        deliver(callback, JsonWriter(event).text());
    };
}

CallBackFunc taskCompletion(IElectronCallback *callback)
{
    return [callback, run = Run::current()](const QVariantMap &message) {
        deliverInRun(run, [callback, &message] {
            deliver(callback, JsonWriter(message).text());
            return true;
        });
    };
}
