// Names every type of the binary interfaces in an exported function, so that their debug
// information holds the order of the virtual functions and the layout of the records. Compiled by
// tools/abi.sh alone and linked into nothing.

#include "account/iaccountsdk.h"
#include "log/izelectronlogproxy.h"
#include "zelectronframework/zelectronframework.h"

using namespace zelectronframeworkspace;

// Between host and library.
extern "C" IElectronFramework *createElectronFrameworkObject()
{
    return nullptr;
}
void exposed(IElectronFramework &) {}
void exposed(IElectronCallback &) {}

// Between the library and the closed ones.
void exposed(IZElectronLogProxy &) {}
void exposed(IAccountSdk &) {}
void exposed(IAccount &) {}
void exposed(IScheduler &) {}
void exposed(IMessageTaskContext &) {}
void exposed(IMessageTaskRegistry &) {}
void exposed(ILoginService &) {}
void exposed(ISignService &) {}
void exposed(ICookieFactory &) {}
void exposed(IInfoCollectHandler &) {}
void exposed(IAccessbaseService &) {}
void exposed(IDomainMgr &) {}
void exposed(AccountListItem &) {}
void exposed(AccountAuthInfo &) {}
void exposed(AccountUserInfo &) {}
