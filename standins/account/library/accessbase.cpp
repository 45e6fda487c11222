#include "library/accessbase.h"

#include "jsontext.h"
#include "keeper/keeper.h"

#include <QElapsedTimer>
#include <QNetworkInterface>
#include <QSysInfo>
#include <QTcpSocket>
#include <QThread>
#include <QUuid>

namespace zefstandin {

namespace {

constexpr int kCheckMilliseconds = 3000;

/// One for the host's name.
QString deviceId()
{
    return QUuid::createUuidV5(QUuid(), QSysInfo::machineHostName()).toRfc4122().toHex();
}

QVariantMap interfaceMap(const QNetworkInterface &interface)
{
    QVariantList addresses;
    for (const QNetworkAddressEntry &entry : interface.addressEntries()) {
        addresses.append(entry.ip().toString());
    }
    const QNetworkInterface::InterfaceFlags flags = interface.flags();
    return {{"name", interface.name()},
            {"up", flags.testFlag(QNetworkInterface::IsUp)},
            {"running", flags.testFlag(QNetworkInterface::IsRunning)},
            {"loopback", flags.testFlag(QNetworkInterface::IsLoopBack)},
            {"addresses", addresses}};
}

bool isOnline(const QVariantMap &interface)
{
    return interface.value("running").toBool() && !interface.value("loopback").toBool() &&
           !interface.value("addresses").toList().isEmpty();
}

/// Connects for real; the socket takes the application proxy of the process by itself.
QVariantMap connectTo(const QString &address)
{
    const int colon = address.lastIndexOf(':');
    QElapsedTimer timer;
    timer.start();
    QTcpSocket socket;
    socket.connectToHost(address.left(colon), quint16(address.mid(colon + 1).toUInt()));
    const bool isReachable = socket.waitForConnected(kCheckMilliseconds);
    QVariantMap check{
        {"address", address}, {"reachable", isReachable}, {"elapsedMs", timer.elapsed()}};
    if (!isReachable) {
        check.insert("error", socket.errorString());
    }
    return check;
}

/// The check on a Qt thread of its own, because the calling thread may be none.
QVariantMap checkConnection(const QString &address)
{
    QVariantMap check;
    const std::unique_ptr<QThread> thread(
        QThread::create([&check, address] { check = connectTo(address); }));
    thread->start();
    thread->wait(ULONG_MAX); // this overload exists in every Qt 5
    return check;
}

bool isDecided(const Script &script)
{
    return script.refuse || script.text || Keeper::instance().isNoCost();
}

} // namespace

QString Accessbase::getDeviceInfo()
{
    const Script script = Keeper::instance().begin("getDeviceInfo");
    if (isDecided(script)) {
        return script.text.value_or(QString());
    }
    return compactJson({{"deviceId", deviceId()},
                        {"deviceName", QSysInfo::machineHostName()},
                        {"system", QSysInfo::prettyProductName()},
                        {"kernel", QSysInfo::kernelType() + ' ' + QSysInfo::kernelVersion()},
                        {"architecture", QSysInfo::currentCpuArchitecture()}});
}

QString Accessbase::getDeviceNetworkStatus()
{
    const Script script = Keeper::instance().begin("getDeviceNetworkStatus");
    if (isDecided(script)) {
        return script.text.value_or(QString());
    }

    QVariantList interfaces;
    bool isAnyOnline = false;
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces()) {
        const QVariantMap map = interfaceMap(interface);
        isAnyOnline = isAnyOnline || isOnline(map);
        interfaces.append(map);
    }
    QVariantMap status{{"online", isAnyOnline}, {"interfaces", interfaces}};

    QString address;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        address = m_networkCheck;
    }
    if (!address.isEmpty()) {
        status.insert("check", checkConnection(address));
    }
    return compactJson(status);
}

QString Accessbase::getDeviceHeader(const QString &request)
{
    const Script script = Keeper::instance().begin("getDeviceHeader", request.toUtf8());
    if (isDecided(script)) {
        return script.text.value_or(QString());
    }

    const std::optional<QVariantMap> map = objectFromText(request.toStdString());
    QVariantMap header = map ? map->value("header").toMap() : QVariantMap();
    if (header.isEmpty()) {
        return {};
    }
    header.insert("deviceId", deviceId());
    header.insert("platform", QSysInfo::productType());
    return compactJson(header);
}

void Accessbase::configure(const QVariantMap &standin)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (standin.contains("networkCheck")) {
        m_networkCheck = standin.value("networkCheck").toString();
    }
}

} // namespace zefstandin
