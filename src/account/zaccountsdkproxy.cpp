#include "account/zaccountsdkproxy.h"

#include "account/iaccountsdk.h"
#include "account/logrelay.h"
#include "log/librarylocation.h"
#include "log/logline.h"

#include <QDebug>

#include <dlfcn.h>

namespace {

const char kLibrary[] = "libzaccountlite.so";

using InitInterface = bool (*)();
using GetInterface = bool (*)(IAccountSdk **);
using UninitInterface = void (*)();

template <typename Function>
Function resolve(void *library, const char *symbol)
{
    return reinterpret_cast<Function>(dlsym(library, symbol));
}

} // namespace

ZAccountSdkProxy::ZAccountSdkProxy(QObject *parent) : QObject(parent) {}

bool ZAccountSdkProxy::load()
{
    if (!m_libraryHandle) {
        m_libraryHandle = dlopen(kLibrary, RTLD_LAZY);
    }
    if (!m_libraryHandle) {
        const char *reason = dlerror(); // NOLINT(concurrency-mt-unsafe): per thread in glibc
        qDebug() << "load fail: " << (reason ? reason : "");
        return false;
    }
    warnIfFromElsewhere(kLibrary);
    return true;
}

bool ZAccountSdkProxy::init(const QVariantMap &params)
{
    if (!load()) {
        return false;
    }

    // Both look-ups come before either call.
    const auto initInterface = resolve<InitInterface>(m_libraryHandle, "InitInterface");
    if (!initInterface) {
        return false;
    }
    const auto getInterface = resolve<GetInterface>(m_libraryHandle, "GetInterface");
    if (!getInterface) {
        return false;
    }

    if (!initInterface()) {
        return false;
    }
    IAccountSdk *accountSdk = nullptr;
    const bool isObtained = getInterface(&accountSdk);
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
    // By name, because the notifier's class is the library's own. A signal that it lacks stays
    // silent.
    connect(sdk()->notifier(), SIGNAL(initFinished()), this, SIGNAL(initFinished()));
    connect(sdk()->notifier(), SIGNAL(currentAccountChanged()), this,
            SIGNAL(currentAccountChanged()));
    connect(sdk()->notifier(), SIGNAL(authInfoChanged()), this, SIGNAL(authInfoChanged()));
    connect(sdk()->notifier(), SIGNAL(userInfoChanged()), this, SIGNAL(userInfoChanged()));
    connect(sdk()->notifier(), SIGNAL(companyInfoChanged()), this, SIGNAL(companyInfoChanged()));
    connect(sdk()->notifier(), SIGNAL(accountListInfoChanged()), this,
            SIGNAL(accountListInfoChanged()));
    connect(sdk()->notifier(), SIGNAL(cookieUpdated()), this, SIGNAL(cookieUpdated()));
}

void ZAccountSdkProxy::shutdown()
{
    // An exception of the library must not keep the rest of the shutdown from happening.
    const auto guarded = [](auto step) {
        try {
            step();
        } catch (...) {
            logError("shutdown", "exception from the account library");
        }
    };

    if (IAccountSdk *accountSdk = sdk()) {
        guarded([accountSdk] { accountSdk->uninit(); });
    }
    if (!m_libraryHandle) {
        return;
    }
    if (const auto uninitInterface = resolve<UninitInterface>(m_libraryHandle, "UninitInterface")) {
        guarded(uninitInterface);
    }
    dlclose(m_libraryHandle);
    m_libraryHandle = nullptr;
}
