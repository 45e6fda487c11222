// What of the interface the code itself says: methods by module and slot, which of them are
// thread-safe, events, task types. One JSON object, for interface/generate.mjs and for the tests.

#include "account/zaccountsdkproxy.h"
#include "dispatch/zeventmanager.h"
#include "dispatch/zmessagehandlerbase.h"
#include "dispatch/zmethoddispatcher.h"
#include "meeting/zcallbackfuncmanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

int main()
{
    QJsonArray methods;
    ZMethodDispatcher dispatcher(nullptr);
    if (!dispatcher.initHandlers()) {
        return 1;
    }
    const auto &handlers = dispatcher.handlers();
    for (auto module = handlers.cbegin(); module != handlers.cend(); ++module) {
        const ZMessageHandlerBase &handler = *module.value();
        for (const QString &method : handler.methods()) {
            methods.append(
                QJsonObject{{"name", module.key() + '.' + method},
                            {"threadSafe", handler.threadSafeMethods().contains(method)}});
        }
        for (const QString &method : handler.threadSafeMethods()) {
            if (!handler.methods().contains(method)) {
                std::fprintf(stderr, "%s: thread-safe, but no slot: %s\n", qPrintable(module.key()),
                             qPrintable(method));
                return 1;
            }
        }
    }

    ClosedLibrary library;
    const ZAccountSdkProxy account(library, nullptr);
    ZEventManager events(nullptr);
    events.addEvents("account", &account);

    const QJsonObject facts{
        {"methods", methods},
        {"events", QJsonArray::fromStringList(events.paths())},
        {"tasks", QJsonArray::fromStringList(ZCallbackFuncManager::typeNames())},
    };
    std::fputs(QJsonDocument(facts).toJson().constData(), stdout);
    return 0;
}
