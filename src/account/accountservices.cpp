#include "account/accountservices.h"

#include "account/zaccountsdkproxy.h"
#include "base/runningframework.h"

IAccountSdk *accountSdk()
{
    const ZAccountSdkProxy *proxy = runningAccountSdkProxy();
    return proxy ? proxy->sdk() : nullptr;
}
