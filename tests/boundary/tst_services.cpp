#include "support/hostfixture.h"
#include "support/rows.h"

#include <QNetworkProxy>
#include <QtTest>

class tst_Services : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    // network
    void proxyIsSet_data();
    void proxyIsSet();
    void proxyOfTheSettingsApplies();
    void domainsReachTheLibrary();

    // accessbase
    void deviceHeaderIsRequested_data();
    void deviceHeaderIsRequested();
    void emptyAnswerIsNoFailure();

    // utils
    void logPathIsAnswered();
    void missingLogPathIsReported();

private:
    HostFixture m_host;
};

void tst_Services::cleanup()
{
    m_host.asynCall("network.updateProxyInfo"); // Qt keeps the proxy beyond the run
    QVERIFY(m_host.framework.uninit());
}

void tst_Services::proxyIsSet_data()
{
    const auto row = columns<QByteArray, QByteArray, QNetworkProxy>("params", "line", "proxy");
    const QNetworkProxy none(QNetworkProxy::NoProxy);

    row("nothing", "{}", "type:0 host: port:0 user: password:", none);
    row("system", R"({"proxyType":1,"proxyHost":"h","proxyPort":1})", "default proxy", none);
    row("HTTP",
        R"({"proxyType":2,"proxyHost":"%2","proxyPort":70000,)"
        R"("proxyUser":"%5","proxyPassWord":"p%1"})",
        "type:2 host:%2 port:70000 user:%5 password:p%1",
        {QNetworkProxy::HttpProxy, "%2", 70000 - 65536, "%5", "p%1"});
    row("texts", R"({"proxyType":"3","proxyHost":7,"proxyPort":"1080"})",
        "type:3 host:7 port:1080 user: password:", {QNetworkProxy::Socks5Proxy, "7", 1080});
    row("unknown", R"({"proxyType":4,"proxyHost":"h"})",
        "type:4 host:h port:0 user: password:", {QNetworkProxy::NoProxy, "h"});
}

void tst_Services::proxyIsSet()
{
    QFETCH(QByteArray, params);
    QFETCH(QByteArray, line);
    QFETCH(QNetworkProxy, proxy);

    QVERIFY(m_host.start());
    m_host.library.log().reset();
    QCOMPARE(m_host.asynCall("network.updateProxyInfo", params),
             QByteArray(R"({"data":{"result":"ok"},"msg":"success","result":"ok"})"));
    QCOMPARE(m_host.library.logLines().at(1), "Info setGlobalNetworkProxy " + line.toStdString());
    const bool isSystem = line == "default proxy";
    QCOMPARE(QNetworkProxyFactory::usesSystemConfiguration(), isSystem);
    QVERIFY(isSystem || QNetworkProxy::applicationProxy() == proxy);
}

void tst_Services::proxyOfTheSettingsApplies()
{
    m_host.library.account().reset();
    m_host.library.log().reset();
    QVERIFY(m_host.library.start(R"(,"standin":{"networkCheck":"office.test:80"},"network":)"
                                 R"({"proxy":{"proxyType":2,"proxyHost":"127.0.0.1",)"
                                 R"("proxyPort":1,"proxyUser":"u","proxyPassWord":"p"}})"));
    QCOMPARE(m_host.library.logLines(), std::vector<std::string>{"Info init init account success"});
    const QNetworkProxy proxy(QNetworkProxy::HttpProxy, "127.0.0.1", 1, "u", "p");
    QVERIFY(QNetworkProxy::applicationProxy() == proxy);

    // The account library connects through it; nothing listens at its port.
    const QByteArray status = m_host.call("accessbase.getDeviceNetworkStatus");
    QVERIFY2(status.contains("Proxy connection refused"), status);
}

void tst_Services::domainsReachTheLibrary()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("getDomainMgr", R"({"refuse":true})"));
    QCOMPARE(m_host.asynCall("network.setCustomDomain"), failure("param is empty"));
    QCOMPARE(m_host.asynCall("network.setCustomDomain", R"({"a":1})"),
             failure("domainMgr is null"));

    QVERIFY(m_host.script("getDomainMgr", "{}"));
    m_host.library.account().clearRecords();
    QCOMPARE(m_host.asynCall("network.setCustomDomain", R"({"b":2.5,"a":true,"c":{}})"),
             QByteArray(R"({"data":{"result":"ok"},"msg":"success","result":"ok"})"));
    QCOMPARE(m_host.argumentsOf("setDomain"), (QByteArrayList{"a true", "b 2.5", "c "}));
}

void tst_Services::deviceHeaderIsRequested_data()
{
    const auto row = columns<QByteArray, QByteArray>("params", "request"); // no request: refused

    row("values become texts",
        R"({"deviceCode":{"b":2,"a":"x","d":true,"c":1.5,"e":{"n":1},"f":[1],"g":null}})",
        R"({"header":{"a":"x","b":"2","c":"1.5","d":"true","e":"","f":"","g":""}})");
    row("no codes", "{}", "");
    row("empty codes", R"({"deviceCode":{}})", "");
    row("a text", R"({"deviceCode":"a"})", "");
    row("a list", R"({"deviceCode":["a"]})", "");
}

void tst_Services::deviceHeaderIsRequested()
{
    QFETCH(QByteArray, params);
    QFETCH(QByteArray, request);

    QVERIFY(m_host.start());
    const QByteArray reply = m_host.call("accessbase.getDeviceHeader", params);
    if (request.isEmpty()) {
        QCOMPARE(reply, failure("deviceCode is empty"));
        QVERIFY(m_host.argumentsOf("getDeviceHeader").isEmpty());
    } else {
        QCOMPARE(dataOf(reply, "result"), QJsonValue("ok"));
        QCOMPARE(m_host.argumentsOf("getDeviceHeader"), QByteArrayList{request});
    }
}

void tst_Services::emptyAnswerIsNoFailure()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("getDeviceInfo", R"({"text":""})"));
    QCOMPARE(m_host.call("accessbase.getDeviceInfo"),
             QByteArray(R"({"data":{"data":"","result":"ok"},"msg":"success","result":"ok"})"));
}

void tst_Services::logPathIsAnswered()
{
    QVERIFY(m_host.start());
    QTemporaryDir base;
    m_host.library.log().setBaseDirectory(base.path().toStdString());
    const QByteArray path = (base.path() + "/tst_services").toUtf8();
    const QByteArray reply = R"({"data":{"path":")" + path + R"("},"msg":"success","result":"ok"})";
    QCOMPARE(m_host.call("utils.getLogPath"), reply);
    QCOMPARE(m_host.asynCall("utils.getLogPath", "not JSON"), reply);
    QCOMPARE(m_host.library.logLines().at(1),
             "Info getLogPath get log path: " + path.toStdString());
}

void tst_Services::missingLogPathIsReported()
{
    QVERIFY(m_host.start());
    QTemporaryDir base;
    m_host.library.log().setBaseDirectory(base.path().toStdString());
    m_host.library.log().setSubdirectoryMissing(true);
    QCOMPARE(m_host.call("utils.getLogPath"), failure("log path is null"));
    QVERIFY(!QDir(base.path() + "/tst_services").exists());
    m_host.library.log().setSavePathNull(true);
    QCOMPARE(m_host.call("utils.getLogPath"), failure("log path is null"));
}

QTEST_APPLESS_MAIN(tst_Services)
#include "tst_services.moc"
