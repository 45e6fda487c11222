#include "support/hostfixture.h"
#include "support/rows.h"

#include <QJsonDocument>
#include <QtTest>

#include <vector>

using zelectronframeworkspace::IElectronFramework;
using zelectronframeworkspace::kLengthNotGiven;

class tst_Calls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    // routing
    void failuresAreReplies_data();
    void failuresAreReplies();
    void pathsAreSplitAtTheirFirstPoints();
    void foreignThreadRunsOnlyListedMethods();

    // delivery
    void callDeliversBeforeItReturns();
    void asynCallDeliversOnTheHostThread();
    void nullCallbackIsNoError();
    void answersKeepTheirOrder();
    void callbackMayCallBack();
    void exceptionOfACallbackIsCaught();

    // texts
    void unusableParametersCountAsEmpty_data();
    void unusableParametersCountAsEmpty();
    void foreignTextIsLoggedAsItIs();
    void bothLinesOfAnAsynCall();

private:
    HostFixture m_host;
    LoadedLibrary &m_library = m_host.library;
    IElectronFramework &m_framework = m_host.framework;
};

void tst_Calls::initTestCase()
{
    QVERIFY(m_library.start());
}

/// Waits for the lines of earlier answers, which are written after their delivery.
void tst_Calls::init()
{
    m_host.asynCall("flush.method");
    const std::string last = "Info operator() asynCall result:"
                             R"({"msg":"flush not found","result":"fail"})";
    QTRY_VERIFY(!m_library.logLines().empty() && m_library.logLines().back() == last);
    m_library.log().reset();
}

void tst_Calls::cleanupTestCase()
{
    QVERIFY(m_framework.uninit());
}

void tst_Calls::failuresAreReplies_data()
{
    const auto row =
        columns<QByteArray, QByteArray, QByteArray>("path", "callMessage", "asynCallMessage");

    const auto both = [&](const char *path, const QByteArray &message) {
        row(path, path, message, message);
    };
    const auto perRoute = [&](const char *path, const QByteArray &name) {
        row(path, path, "method:" + name + " not support thread safe",
            "method:" + name + " asynCall failed");
    };
    both("", "Wrong number of arguments");
    both("utils", "Wrong number of arguments");
    both("Utils.getLogPath", "Utils not found");
    both(".getLogPath", " not found");
    both("%1.%2", "%1 not found");
    perRoute("utils.", "");
    perRoute("utils.GetLogPath", "GetLogPath");
    perRoute("utils..getLogPath", "");
    perRoute("utils.deleteLater", "deleteLater");
    perRoute("utils.%1%10", "%1%10");
}

void tst_Calls::failuresAreReplies()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, callMessage);
    QFETCH(QByteArray, asynCallMessage);

    QCOMPARE(m_host.call(path), R"({"msg":")" + callMessage + R"(","result":"fail"})");
    QCOMPARE(m_host.asynCall(path), R"({"msg":")" + asynCallMessage + R"(","result":"fail"})");
}

void tst_Calls::pathsAreSplitAtTheirFirstPoints()
{
    QVERIFY(m_host.call("accessbase.getDeviceInfo.extra.").startsWith(R"({"data":{"data":)"));
}

void tst_Calls::foreignThreadRunsOnlyListedMethods()
{
    QCOMPARE(
        m_host.call("network.updateProxyInfo"),
        QByteArray(R"({"msg":"method:updateProxyInfo not support thread safe","result":"fail"})"));

    // The same call runs on the host thread, here from inside a callback.
    Recorder outer;
    Recorder inner;
    outer.runInside([&] { m_framework.call("network.updateProxyInfo", "{}", &inner); });
    QVERIFY(m_framework.asynCall("nowhere.method", "{}", &outer));
    outer.take();
    QCOMPARE(inner.text(), QByteArray(R"({"data":{"result":"ok"},"msg":"success","result":"ok"})"));
}

void tst_Calls::callDeliversBeforeItReturns()
{
    Recorder recorder;
    QVERIFY(m_framework.call("accessbase.getDeviceInfo", "{}", &recorder));
    const Recorder::Delivery delivery = recorder.take(0);
    QCOMPARE(delivery.length, static_cast<std::size_t>(delivery.text.size()));
    QVERIFY(delivery.thread == std::this_thread::get_id());
    QCOMPARE(QJsonDocument::fromJson(delivery.text).toJson(QJsonDocument::Compact), delivery.text);
}

void tst_Calls::asynCallDeliversOnTheHostThread()
{
    Recorder recorder;
    QVERIFY(m_framework.asynCall("accessbase.getDeviceInfo", "{}", &recorder));
    QVERIFY(m_framework.asynCall("nowhere.method", "{}", &recorder));
    const Recorder::Delivery answer = recorder.take();
    const Recorder::Delivery failure = recorder.take();
    QVERIFY(answer.text.contains(R"("result":"ok")"));
    QCOMPARE(answer.length, kLengthNotGiven);
    QVERIFY(answer.thread != std::this_thread::get_id());
    QVERIFY(answer.thread == failure.thread);
}

void tst_Calls::nullCallbackIsNoError()
{
    QVERIFY(m_framework.call("accessbase.getDeviceInfo", "{}", nullptr));
    QVERIFY(m_library.logLines().empty());
    QVERIFY(m_framework.call(nullptr, nullptr, nullptr));

    QVERIFY(m_framework.asynCall(nullptr, nullptr, nullptr));
    QTRY_COMPARE(m_library.logLines().size(), std::size_t(2));
    QCOMPARE(m_library.logLines().back(),
             std::string("Info operator() asynCall result:"
                         R"({"msg":"Wrong number of arguments","result":"fail"})"));
}

void tst_Calls::answersKeepTheirOrder()
{
    Recorder recorder;
    const std::vector<QByteArray> methods{"utils.a", "utils.b", "network.c", "utils.d"};
    for (const QByteArray &method : methods) {
        QVERIFY(m_framework.asynCall(method, "{}", &recorder));
    }
    for (const QByteArray &method : methods) {
        QVERIFY(recorder.text().contains("method:" + method.mid(method.indexOf('.') + 1) + ' '));
    }
}

void tst_Calls::callbackMayCallBack()
{
    Recorder inner;
    Recorder middle;
    Recorder outer;
    middle.runInside([&] {
        m_framework.call("accessbase.getDeviceInfo", "{}", &inner);
        m_framework.asynCall("nowhere.method", "{}", &inner);
    });
    outer.runInside([&] {
        m_framework.call("accessbase.getDeviceInfo", "{}", &middle);
        m_framework.removeListener(m_framework.addListener("account.cookieUpdated", &inner));
    });
    QVERIFY(m_framework.asynCall("accessbase.getDeviceInfo", "{}", &outer));

    QVERIFY(outer.text().contains(R"("result":"ok")"));
    QVERIFY(middle.text().contains(R"("result":"ok")"));
    QVERIFY(inner.text().contains(R"("result":"ok")"));
    QVERIFY(inner.text().contains("nowhere not found"));
}

void tst_Calls::exceptionOfACallbackIsCaught()
{
    Recorder recorder;
    recorder.runInside([] { throw 1; });
    QVERIFY(m_framework.call("accessbase.getDeviceInfo", "{}", &recorder));
    QVERIFY(m_framework.asynCall("accessbase.getDeviceInfo", "{}", &recorder));
    QCOMPARE(recorder.text().left(7), QByteArray(R"({"data")"));
    QCOMPARE(recorder.text().left(7), QByteArray(R"({"data")"));
    QVERIFY(m_host.asynCall("nowhere.method").contains("nowhere"));
    QCOMPARE(m_library.logLines().front(),
             std::string("Error onCallback exception from a host callback"));
}

void tst_Calls::unusableParametersCountAsEmpty_data()
{
    const auto row = columns<QByteArray>("params");

    row("empty", "");
    row("malformed", R"({"deviceCode":{"a":1})");
    row("a list", R"([{"deviceCode":{"a":1}}])");
    row("trailing text", R"({"deviceCode":{"a":1}} x)");
    row("invalid UTF-8", "{\"deviceCode\":{\"a\":\"\xff\"}}");
    row("too deep", R"({"deviceCode":)" + QByteArray(1100, '[') + QByteArray(1100, ']') + "}");
    row("1 MB of garbage", QByteArray(1024 * 1024, '{'));
}

void tst_Calls::unusableParametersCountAsEmpty()
{
    QFETCH(QByteArray, params);

    const QByteArray refused(R"({"msg":"deviceCode is empty","result":"fail"})");
    QCOMPARE(m_host.call("accessbase.getDeviceHeader", params), refused);
    QCOMPARE(m_host.asynCall("accessbase.getDeviceHeader", params), refused);
    QVERIFY(m_library.logLines().front().find(params.toStdString().substr(0, 10)) !=
                std::string::npos ||
            params.isEmpty());
}

void tst_Calls::foreignTextIsLoggedAsItIs()
{
    const std::string text = "{\"a\":\"%1 %3 \U0001F600 \u4e2d\"}";
    m_host.call("utils.%2%10", text.c_str());
    QCOMPARE(m_library.logLines(),
             (std::vector<std::string>{"Info call call method:utils.%2%10, params:" + text +
                                       ", result:{\"msg\":\"method:%2%10 not support thread safe\","
                                       "\"result\":\"fail\"}"}));
}

void tst_Calls::bothLinesOfAnAsynCall()
{
    m_host.asynCall("utils.%2", R"({"b":"%1"})");
    QTRY_COMPARE(m_library.logLines().size(), std::size_t(2));
    QCOMPARE(
        m_library.logLines(),
        (std::vector<std::string>{R"(Info asynCall asynCall method:utils.%2, params:{"b":"%1"})",
                                  "Info operator() asynCall result:"
                                  R"({"msg":"method:%2 asynCall failed","result":"fail"})"}));
}

QTEST_APPLESS_MAIN(tst_Calls)
#include "tst_calls.moc"
