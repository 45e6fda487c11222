#include "keeper/vocabulary.h"

#include "keeper/script.h"

#include <QHash>

namespace zefstandin {

namespace {

const struct
{
    Operation operation;
    const char *names;
} kOperations[] = {
    {Operation::step, "InitInterface GetInterface UninitInterface init uninit notifier "
                      "registerMessageTask"},
    {Operation::getter, "getAccount getScheduler getMessageTaskRegistry getLoginService "
                        "getSignService getCookieFactory getInfoCollectHandler "
                        "getAccessbaseService getDomainMgr"},
    {Operation::request, "loginCallback logout switchAccount upgradeAccount downgradeAccount "
                         "updateAccountInfo getUrlWithAuthorizeCode"},
    {Operation::query, "getJwkPublicKeyStr generatePKCEParam signPopToken signLoginData "
                       "cookiesForUrl registerCollectCallback getDeviceInfo "
                       "getDeviceNetworkStatus getDeviceHeader setDomain"},
    {Operation::task, "grantAuthorizeCodeOffice getAuthorizedUserInfoOffice "
                      "notifyOfficeMsg/enterMeeting notifyOfficeMsg/getMeetingStatus"},
};

const char *const kSettingsKeys =
    "accounts generateAccounts users currentUserId cookies accountUrl office networkCheck answers "
    "script timeline initFinishedAfterMs log hostileSeed noCost";
const char *const kCommandKeys =
    "accounts generateAccounts users currentUserId cookies accountUrl office networkCheck answers "
    "script signal message collect release releaseNth reset";

QStringList list(const char *names)
{
    QStringList all;
    for (const QByteArray &name : QByteArray(names).split(' ')) {
        all.append(QString::fromLatin1(name));
    }
    return all;
}

const QHash<QString, Operation> &operations()
{
    static const auto &all = *new QHash<QString, Operation>([] {
        QHash<QString, Operation> read;
        for (const auto &[operation, names] : kOperations) {
            for (const QString &name : list(names)) {
                read.insert(name, operation);
            }
        }
        return read;
    }());
    return all;
}

} // namespace

std::optional<Operation> findOperation(const QString &name)
{
    const auto known = operations().constFind(name);
    return known == operations().constEnd() ? std::nullopt : std::optional<Operation>(*known);
}

bool isSettingsKey(const QString &key)
{
    return list(kSettingsKeys).contains(key);
}

bool isCommandKey(const QString &key)
{
    return list(kCommandKeys).contains(key);
}

QVariantMap vocabulary()
{
    return {{"operations", QStringList(operations().keys())},
            {"script", scriptKeys()},
            {"settings", list(kSettingsKeys)},
            {"command", list(kCommandKeys)}};
}

} // namespace zefstandin
