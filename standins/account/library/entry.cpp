#include "account/iaccountsdk.h"
#include "keeper/keeper.h"
#include "library/session.h"

#include <stdexcept>

namespace zefstandin {

// Defined in the keeper.
AccountControl *keeperControl();

namespace {

/// Records a step or a getter, and does what scripts of every operation may ask for.
Script begin(const char *operation)
{
    Keeper &keeper = Keeper::instance();
    if (keeper.isNoCost()) {
        return {};
    }
    keeper.recordCall(operation);
    const Script script = keeper.decide(operation);
    script.sleep();
    script.disturbHost();
    script.throwIfScripted();
    return script;
}

/// The root interface. Has no destructor to run, so that nothing happens at exit or unloading.
class AccountSdk final : public IAccountSdk
{
public:
    bool init(const QVariantMap &params, IZElectronLogProxy *logProxy) override
    {
        const QVariantMap standin = params.value("standin").toMap();
        Keeper::instance().setSettings(standin.value("script").toMap(),
                                       standin.value("hostileSeed").toUInt(),
                                       standin.value("noCost").toBool());
        if (begin("init").refuse) {
            return false;
        }
        if (!m_session) {
            m_session = new Session(params, logProxy);
        }
        return true;
    }

    void uninit() override
    {
        Keeper &keeper = Keeper::instance();
        keeper.recordCall("uninit");
        const Script script = keeper.decide("uninit");
        script.sleep();
        script.disturbHost();
        endSession(script.keepNotifier);
        script.throwIfScripted();
    }

    QObject *notifier() override
    {
        const Script script = begin("notifier");
        if (script.refuse || !m_session) {
            return nullptr;
        }
        return script.plainNotifier ? m_session->plainNotifier() : m_session->notifier();
    }
    IAccount *getAccount() override
    {
        return begin("getAccount").refuse || !m_session ? nullptr : &m_session->accounts();
    }
    IScheduler *getScheduler() override { return get("getScheduler", &Session::scheduler); }
    IMessageTaskRegistry *getMessageTaskRegistry() override
    {
        return get("getMessageTaskRegistry", &Session::messages);
    }
    ILoginService *getLoginService() override { return get("getLoginService", &Session::login); }
    ISignService *getSignService() override { return get("getSignService", &Session::sign); }
    ICookieFactory *getCookieFactory() override
    {
        return begin("getCookieFactory").refuse || !m_session ? nullptr : &m_session->cookies();
    }
    IInfoCollectHandler *getInfoCollectHandler() override
    {
        return get("getInfoCollectHandler", &Session::infoCollect);
    }
    IAccessbaseService *getAccessbaseService() override
    {
        return get("getAccessbaseService", &Session::accessbase);
    }
    IDomainMgr *getDomainMgr() override { return get("getDomainMgr", &Session::domainMgr); }

    void endSession(bool keepNotifier)
    {
        if (m_session && keepNotifier) {
            m_session->leakNotifier();
        }
        delete m_session;
        m_session = nullptr;
    }

private:
    template <typename Service>
    Service *get(const char *operation, Service *(Session::*getter)())
    {
        return begin(operation).refuse || !m_session ? nullptr : (m_session->*getter)();
    }

    Session *m_session = nullptr; // set and cleared on the host thread, outside all other calls
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
    zefstandin::accountSdk.endSession(false);
}

zefstandin::AccountControl *zefAccountStandinControl()
{
    return zefstandin::keeperControl();
}
}

#pragma GCC visibility pop
