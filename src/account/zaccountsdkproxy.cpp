#include "account/zaccountsdkproxy.h"

#include "account/iaccountsdk.h"
#include "account/logrelay.h"
#include "log/closedlibrary.h"
#include "log/guarded.h"
#include "log/logline.h"

#include <QMetaMethod>

#include <dlfcn.h>

namespace {

const char kLibrary[] = "libzaccountlite.so";

} // namespace

ZAccountSdkProxy::ZAccountSdkProxy(QObject *parent) : QObject(parent) {}

bool ZAccountSdkProxy::load()
{
    if (!m_libraryHandle) {
        m_libraryHandle = openClosedLibrary(kLibrary);
    }
    if (!m_libraryHandle) {
        return false;
    }
    warnIfFromElsewhere(kLibrary);
    return findFunctions(m_libraryHandle, kLibrary,
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

void ZAccountSdkProxy::shutdown()
{
    // The notifier may outlive the library's code.
    for (const QMetaObject::Connection &connection : m_connections) {
        disconnect(connection);
    }

    // An exception of the library must not prevent the rest of the shutdown.
    const auto threw = [] { logError("shutdown", "exception from the account library"); };
    if (IAccountSdk *accountSdk = sdk()) {
        guarded([accountSdk] { accountSdk->uninit(); }, threw);
    }
    if (!m_libraryHandle) {
        return;
    }
    if (m_uninitInterface) {
        guarded(m_uninitInterface, threw);
    }
    dlclose(m_libraryHandle);
    m_libraryHandle = nullptr;
}
