#include "account/accountservices.h"

#include "account/zaccountsdkproxy.h"
#include "framework/zelectronapplication.h"

IAccountSdk *accountSdk()
{
    const ZElectronApplication *application = g_electronApp;
    const ZAccountSdkProxy *proxy = application ? application->accountSdkProxy() : nullptr;
    return proxy ? proxy->sdk() : nullptr;
}
