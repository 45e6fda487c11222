#include "loadedstandin.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <dlfcn.h>

namespace {

template <typename Function>
Function lookUp(void *handle, const char *name)
{
    return reinterpret_cast<Function>(dlsym(handle, name));
}

} // namespace

QVariantMap fromJson(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object().toVariantMap();
}

QVariantMap settings(const char *standin)
{
    return {{"standin", fromJson(QByteArray(standin).replace('\'', '"'))}};
}

LoginOperation loginOperation(const QString &name)
{
    const QMap<QString, LoginOperation> operations{
        {"loginCallback", &ILoginService::loginCallback},
        {"logout", &ILoginService::logout},
        {"switchAccount", &ILoginService::switchAccount},
        {"upgradeAccount", &ILoginService::upgradeAccount},
        {"downgradeAccount", &ILoginService::downgradeAccount},
        {"updateAccountInfo", &ILoginService::updateAccountInfo},
        {"getUrlWithAuthorizeCode", &ILoginService::getUrlWithAuthorizeCode}};
    return operations.value(name, nullptr);
}

QStringList lines(const std::vector<std::string> &texts)
{
    QStringList list;
    for (const std::string &text : texts) {
        list.append(QString::fromStdString(text));
    }
    return list;
}

LoadedStandin::LoadedStandin(const char *file) : m_handle(dlopen(file, RTLD_LAZY)) {}

bool LoadedStandin::start(const QVariantMap &settings)
{
    if (!m_handle) {
        return false;
    }
    const auto initInterface = lookUp<bool (*)()>(m_handle, "InitInterface");
    const auto getInterface = lookUp<bool (*)(IAccountSdk **)>(m_handle, "GetInterface");
    return initInterface && getInterface && initInterface() && getInterface(&m_sdk) && m_sdk &&
           m_sdk->init(settings, nullptr);
}

void LoadedStandin::close()
{
    if (m_sdk) {
        m_sdk->uninit();
    }
    m_sdk = nullptr;
    if (!m_handle) {
        return;
    }
    if (const auto uninitInterface = lookUp<void (*)()>(m_handle, "UninitInterface")) {
        uninitInterface();
    }
    dlclose(m_handle);
    m_handle = nullptr;
}

bool LoadedStandin::has(const char *symbol) const
{
    return dlsym(m_handle, symbol);
}

bool LoadedStandin::isMapped()
{
    QFile maps("/proc/self/maps");
    if (!maps.open(QIODevice::ReadOnly)) {
        return true;
    }
    for (const QByteArray &line : maps.readAll().split('\n')) {
        // A sanitizer that looks for a line number maps the file too, as data.
        if (line.endsWith("/libzaccountlite.so") && line.contains(" r-xp ")) {
            return true;
        }
    }
    return false;
}

zefstandin::AccountControl *LoadedStandin::control()
{
    void *keeper = dlopen("libzaccountkeeper.so", RTLD_LAZY);
    using Control = zefstandin::AccountControl *(*)();
    const auto control = lookUp<Control>(keeper, "zefAccountStandinControl");
    return control ? control() : nullptr;
}

SignalLog::SignalLog(QObject *notifier)
{
    for (const char *name :
         {"initFinished()", "currentAccountChanged()", "authInfoChanged()", "userInfoChanged()",
          "companyInfoChanged()", "accountListInfoChanged()", "cookieUpdated()"}) {
        auto *listener = new SignalListener(this, QString(name).remove("()"), &m_listeners);
        // As SIGNAL() writes it. Direct: there is no event loop here.
        const QByteArray signal = '2' + QByteArray(name);
        QObject::connect(notifier, signal, listener, SLOT(note()), Qt::DirectConnection);
    }
}

QStringList SignalLog::take()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QStringList names;
    names.swap(m_names);
    return names;
}

void SignalListener::note()
{
    const std::lock_guard<std::mutex> lock(m_log->m_mutex);
    m_log->m_names.append(m_name);
}
