#include "framework/zelectronframework.h"

#include "base/run.h"
#include "dispatch/zeventmanager.h"
#include "dispatch/zmethoddispatcher.h"
#include "framework/hostcallback.h"
#include "framework/zelectronapplication.h"
#include "json/jsonreader.h"
#include "json/jsonwriter.h"
#include "log/guarded.h"
#include "log/logline.h"
#include "meeting/zcallbackfuncmanager.h"

using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::ListenerHandle;

namespace {

/// Runs an operation on a member of the running application.
///
/// \param failure the result when the run does not admit the operation, when the application has no
///                such member, and after an exception, out of memory for one.
template <typename Result, typename Member, typename Operation>
Result withMember(Admission needed, Member *(ZElectronApplication::*member)() const, Result failure,
                  Operation operation)
{
    const RunScope scope(needed);
    const ZElectronApplication *application = scope ? g_electronApp.load() : nullptr;
    Member *reached = application ? (application->*member)() : nullptr;
    return reached ? guarded([&] { return operation(*reached, scope); }, [&] { return failure; })
                   : failure;
}

} // namespace

bool ZElectronFramework::init(const char *settings)
{
    const RunChange change;
    if (Run::isAbandoned()) {
        return false;
    }
    if (g_electronApp) {
        return true;
    }
    if (!change || !settings) {
        return false;
    }
    return guarded(
        [this, settings] {
            m_hostThread.reset(); // a thread whose application could not be constructed
            m_hostThread = std::make_unique<HostThread>();
            return m_hostThread->start(mapFromJsonText(settings));
        },
        [] { return false; });
}

bool ZElectronFramework::uninit()
{
    if (Run::isAbandoned()) {
        return false; // without a log line: in a child the log library may be locked for good
    }
    if (Run::isInsideLibrary()) {
        logError("uninit", "refused inside a callback of the library");
        return false;
    }
    const RunChange change;
    if (!change || !g_electronApp) {
        return false;
    }
    return guarded(
        [this] {
            const bool isStopped = m_hostThread->stop();
            if (isStopped) {
                m_hostThread.reset();
            }
            return isStopped;
        },
        [] { return false; });
}

bool ZElectronFramework::call(const char *method, const char *params, IElectronCallback *callback)
{
    return withMember(Admission::Operations, &ZElectronApplication::dispatcher, false,
                      [=](ZMethodDispatcher &dispatcher, const RunScope &scope) {
                          JsonWriter text;
                          {
                              // Freed at the end of the block: a long reply would be in memory
                              // twice beside its log line.
                              const QVariantMap reply =
                                  dispatcher.call(method, mapFromJsonText(params));
                              if (!callback) {
                                  return true;
                              }
                              text.map(reply);
                          }
                          deliverReply(*callback, text, scope);
                          logInfo("call", "call method:%1, params:%2, result:%3",
                                  {method, params, {text.text(), text.length()}});
                          return true;
                      });
}

bool ZElectronFramework::asynCall(const char *method, const char *params,
                                  IElectronCallback *callback)
{
    return withMember(Admission::Everything, &ZElectronApplication::dispatcher, false,
                      [=](ZMethodDispatcher &dispatcher, const RunScope &) {
                          logInfo("asynCall", "asynCall method:%1, params:%2", {method, params});
                          return dispatcher.asynCall(method, mapFromJsonText(params),
                                                     asynCallCompletion(callback));
                      });
}

ListenerHandle ZElectronFramework::addListener(const char *eventName, IElectronCallback *callback)
{
    return withMember(Admission::Operations, &ZElectronApplication::eventManager, ListenerHandle{0},
                      [=](ZEventManager &eventManager, const RunScope &) {
                          logInfo("addListener", "addListener, eventName:%1", {eventName});
                          return eventManager.addListener(eventName, listenerCompletion(callback));
                      });
}

void ZElectronFramework::removeListener(ListenerHandle handle)
{
    withMember(Admission::Operations, &ZElectronApplication::eventManager, false,
               [=](ZEventManager &eventManager, const RunScope &) {
                   eventManager.removeListener(handle);
                   return true;
               });
}

bool ZElectronFramework::registerCallbackFunc(const char *typeName, IElectronCallback *callback)
{
    return withMember(Admission::Operations, &ZElectronApplication::callbackFuncManager, false,
                      [=](ZCallbackFuncManager &manager, const RunScope &) {
                          return manager.registerCallbackFunc(QString::fromUtf8(typeName),
                                                              taskCompletion(callback));
                      });
}
