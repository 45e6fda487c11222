#include "account/zaccountsdkproxy.h"

#include "account/iaccountsdk.h"
#include "account/logrelay.h"
#include "log/guarded.h"
#include "log/logline.h"

#include <QCoreApplication>
#include <QMetaMethod>

namespace {

const char kLibrary[] = "libzaccountlite.so";

/// Runs a step of the shutdown: an exception of the library must not prevent the rest of it.
template <typename Step>
void shutDownStep(Step step)
{
    guarded(step, [] { logError("shutdown", "exception from the account library"); });
}

} // namespace

ZAccountSdkProxy::ZAccountSdkProxy(ClosedLibrary &library, QObject *parent)
    : QObject(parent), m_libraryHandle(library)
{
}

bool ZAccountSdkProxy::load()
{
    if (!m_libraryHandle) {
        m_libraryHandle = openClosedLibrary(kLibrary);
    }
    if (!m_libraryHandle) {
        return false;
    }
    warnIfFromElsewhere(kLibrary);
    return findFunctions(m_libraryHandle.get(), kLibrary,
                         {
                             {m_initInterface, "InitInterface", ClosedFunction::Required},
                             {m_getInterface, "GetInterface", ClosedFunction::Required},
                             {m_uninitInterface, "UninitInterface", ClosedFunction::Optional},
                         });
}

bool ZAccountSdkProxy::init(const QVariantMap &params)
{
    if (!load() || !m_initInterface()) {
        return false;
    }
    IAccountSdk *accountSdk = nullptr;
    const bool isObtained = m_getInterface(&accountSdk);
    m_sdk = accountSdk;
    if (!isObtained || !accountSdk) {
        return false;
    }
    if (!accountSdk->init(params, logRelay())) {
        return false;
    }

    connectNotifier();
    logInfo("init", "init account success");
    return true;
}

void ZAccountSdkProxy::connectNotifier()
{
    for (int index = staticMetaObject.methodOffset(); index < staticMetaObject.methodCount();
         ++index) {
        const QMetaMethod ownSignal = staticMetaObject.method(index);
        const QObject *notifier = sdk()->notifier();
        // By name, because only the library knows the notifier's class. Connecting a signal that it
        // lacks would make Qt print a warning.
        const int found =
            notifier ? notifier->metaObject()->indexOfSignal(ownSignal.methodSignature()) : -1;
        if (found >= 0) {
            m_connections.push_back(
                connect(notifier, notifier->metaObject()->method(found), this, ownSignal));
        }
    }
}

void ZAccountSdkProxy::ignoreNotifications()
{
    for (const QMetaObject::Connection &connection : m_connections) {
        shutDownStep([&connection] { disconnect(connection); });
    }
    m_connections.clear();
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
}

void ZAccountSdkProxy::shutdown()
{
    ignoreNotifications(); // the notifier may outlive the library's code
    if (IAccountSdk *accountSdk = sdk()) {
        shutDownStep([accountSdk] { accountSdk->uninit(); });
    }
    if (m_uninitInterface) {
        shutDownStep(m_uninitInterface);
    }
}
