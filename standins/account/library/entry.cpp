#include "account/iaccountsdk.h"
#include "keeper/keeper.h"
#include "library/instance.h"

#include <stdexcept>

namespace zefstandin {

// Defined in the keeper.
AccountControl *keeperControl();

namespace {

Script begin(const char *operation)
{
    return Keeper::instance().begin(operation);
}

/// The root interface. Has no destructor to run, so that nothing happens at exit or unloading.
class AccountSdk final : public IAccountSdk
{
public:
    bool init(const QVariantMap &params, IZElectronLogProxy *logProxy) override
    {
        Keeper::instance().setSettings(params.value("standin").toMap());
        if (begin("init").refuse) {
            return false;
        }
        if (!m_instance) {
            m_instance = new Instance(params, logProxy);
        }
        return true;
    }

    void uninit() override
    {
        try {
            const Script script = begin("uninit");
            endInstance(script.leave.value_or(QString()));
            script.throwLateIfScripted();
        } catch (...) { // scripted
            endInstance();
            throw;
        }
    }

    QObject *notifier() override
    {
        const Script script = begin("notifier");
        if (script.refuse || !m_instance) {
            return nullptr;
        }
        return script.plainNotifier ? m_instance->plainNotifier() : m_instance->notifier();
    }
    IAccount *getAccount() override { return get("getAccount", &Instance::accounts); }
    IScheduler *getScheduler() override { return get("getScheduler", &Instance::office); }
    IMessageTaskRegistry *getMessageTaskRegistry() override
    {
        return get("getMessageTaskRegistry", &Instance::messages);
    }
    ILoginService *getLoginService() override { return get("getLoginService", &Instance::login); }
    ISignService *getSignService() override { return get("getSignService", &Instance::sign); }
    ICookieFactory *getCookieFactory() override
    {
        return get("getCookieFactory", &Instance::cookies);
    }
    IInfoCollectHandler *getInfoCollectHandler() override
    {
        return get("getInfoCollectHandler", &Instance::infoCollect);
    }
    IAccessbaseService *getAccessbaseService() override
    {
        return get("getAccessbaseService", &Instance::accessbase);
    }
    IDomainMgr *getDomainMgr() override { return get("getDomainMgr", &Instance::domainMgr); }

    void endInstance(const QString &leave = {})
    {
        if (m_instance) {
            m_instance->leaveBehind(leave);
        }
        delete m_instance;
        m_instance = nullptr;
    }

private:
    template <typename Service>
    Service *get(const char *operation, Service Instance::*service)
    {
        return begin(operation).refuse || !m_instance ? nullptr : &(m_instance->*service);
    }

    Instance *m_instance = nullptr; // set and cleared on the host thread, outside all other calls
};

AccountSdk accountSdk;

} // namespace

} // namespace zefstandin

#pragma GCC visibility push(default)

extern "C" {

bool InitInterface()
{
    return !zefstandin::begin("InitInterface").refuse;
}

bool GetInterface(IAccountSdk **sdk)
{
    const zefstandin::Script script = zefstandin::begin("GetInterface");
    if (!sdk || script.refuse) {
        return false;
    }
    *sdk = script.nullResult ? nullptr : &zefstandin::accountSdk;
    return true;
}

void UninitInterface()
{
    zefstandin::begin("UninitInterface");
    zefstandin::accountSdk.endInstance();
}

zefstandin::AccountControl *zefAccountStandinControl()
{
    return zefstandin::keeperControl();
}
}

#pragma GCC visibility pop
