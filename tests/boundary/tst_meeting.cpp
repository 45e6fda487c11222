#include "support/hostfixture.h"
#include "support/rows.h"

#include <QtTest>

#include <atomic>

using zefstandin::MessageContext;
using zefstandin::Thread;

class tst_Meeting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // registration
    void typesAreChecked();
    void firstCallbackStays();
    void collectCallbackGoesToTheLibrary();

    // office messages
    void messagesBecomeTasks_data();
    void messagesBecomeTasks();
    void lostMessagesAreRefused();
    void meetingDataIsAskedFor_data();
    void meetingDataIsAskedFor();

    // status report
    void statusIsReported_data();
    void statusIsReported();
    void incompleteStatusIsRefused_data();
    void incompleteStatusIsRefused();

    // shutdown
    void uninitWaitsForARunningTask();

private:
    bool registerTask(Recorder *recorder)
    {
        return m_host.framework.registerCallbackFunc("meetingDataChangeTask", recorder);
    }
    int send(const QByteArray &message, MessageContext context = MessageContext::alive)
    {
        return m_host.library.account().sendMessage(message.toStdString(), Thread::caller, context);
    }

    HostFixture m_host;
};

void tst_Meeting::init()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("notifyOfficeMsg/enterMeeting", R"({"statuses":[101]})"));
}

void tst_Meeting::cleanup()
{
    m_host.framework.uninit();
}

void tst_Meeting::typesAreChecked()
{
    m_host.library.log().reset();
    Recorder recorder;
    auto &framework = m_host.framework;
    QVERIFY(!framework.registerCallbackFunc("MeetingDataChangeTask", &recorder));
    QVERIFY(!framework.registerCallbackFunc("", &recorder));
    QVERIFY(!framework.registerCallbackFunc(nullptr, nullptr));
    const std::string line = "Error registerCallbackFunc typeName is not supported";
    QCOMPARE(m_host.library.logLines(), (std::vector<std::string>{line, line, line}));

    QVERIFY(m_host.script("getInfoCollectHandler", R"({"refuse":true})"));
    QVERIFY(!framework.registerCallbackFunc("accountInfoCollectTask", &recorder));
    QCOMPARE(m_host.library.logLines().back(),
             std::string("Error _registerAccountInfoCollectTask getInfoCollectHandler failed"));
}

void tst_Meeting::firstCallbackStays()
{
    Recorder first;
    Recorder second;
    QVERIFY(registerTask(&first));
    QVERIFY(registerTask(&second));
    QVERIFY(registerTask(nullptr));
    QCOMPARE(send(R"({"msgType":"getMeetingStatus"})"), 1);
    QCOMPARE(first.text(0), QByteArray(R"({"dataType":"getMeetingStatus"})"));
    QCOMPARE(m_host.argumentsOf("submit notifyOfficeMsg"),
             QByteArrayList{R"({"msgType":"enterMeeting"})"});
    QCOMPARE(m_host.argumentsOf("registerMessageTask").size(), 1);
    QVERIFY(m_host.hasContexts());
}

void tst_Meeting::collectCallbackGoesToTheLibrary()
{
    Recorder recorder;
    auto &framework = m_host.framework;
    QVERIFY(framework.registerCallbackFunc("accountInfoCollectTask", &recorder));
    m_host.library.account().collect(R"({"own":{"map":1}})", Thread::caller);
    QCOMPARE(recorder.text(0), QByteArray(R"({"own":{"map":1}})"));

    QVERIFY(m_host.script("registerCollectCallback", R"({"refuse":true})"));
    m_host.library.log().reset();
    QVERIFY(!framework.registerCallbackFunc("accountInfoCollectTask", &recorder));
    QVERIFY(m_host.library.logLines().empty());
}

void tst_Meeting::messagesBecomeTasks_data()
{
    const auto row =
        columns<QByteArray, QByteArray, QByteArray>("message", "task", "line"); // no task: refused

    row("enter", R"({"msgType":"enterMeeting","meetingUrl":"u%2","accessCode":"%1"})",
        R"({"data":{"accessCode":"%1","meetingUrl":"u%2"},"dataType":"enterMeeting"})",
        "operator() meeting data changed meetingUrl:u%2, accessCode:%1");
    row("enter without code", R"({"msgType":"enterMeeting","meetingUrl":"u"})",
        R"({"data":{"accessCode":"","meetingUrl":"u"},"dataType":"enterMeeting"})",
        "operator() meeting data changed meetingUrl:u, accessCode:");
    row("enter with nothing", R"({"msgType":"enterMeeting","accessCode":{}})", "",
        "operator() accessCode & meetingUrl is empty");
    row("status", R"({"msgType":"getMeetingStatus","more":1})",
        R"({"dataType":"getMeetingStatus"})",
        "operator() getMeetingStatus: notify to get meeting status");
    row("close", R"({"msgType":"closeMeetingApp","logoutAccount":true})",
        R"({"data":{"logoutAccount":true},"dataType":"closeMeetingApp"})",
        "operator() closeInMeeting: notify to close meeting, logoutAccount:1");
    row("close without flag", R"({"msgType":"closeMeetingApp"})",
        R"({"data":{"logoutAccount":false},"dataType":"closeMeetingApp"})",
        "operator() closeInMeeting: notify to close meeting, logoutAccount:0");
    row("other case", R"({"msgType":"EnterMeeting","meetingUrl":"u"})", "",
        "operator() msgType: EnterMeeting not support");
    row("unknown", R"({"msgType":"%1"})", "", "operator() msgType: %1 not support");
    row("no type", "{}", "", "operator() msgType:  not support");
}

void tst_Meeting::messagesBecomeTasks()
{
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, task);
    QFETCH(QByteArray, line);

    Recorder recorder;
    QVERIFY(registerTask(&recorder));
    QVERIFY(m_host.library.account().waitUntilIdle(10000));
    m_host.library.log().reset();
    QCOMPARE(send(message), task.isEmpty() ? 0 : 1);

    std::vector<std::string> lines{"Info " + line.toStdString()};
    if (!task.isEmpty()) {
        const Recorder::Delivery delivery = recorder.take(0);
        QCOMPARE(delivery.text, task);
        QCOMPARE(delivery.length, zelectronframeworkspace::kLengthNotGiven);
        QVERIFY(delivery.thread == std::this_thread::get_id());
        const QString type = QJsonDocument::fromJson(task).object().value("dataType").toString();
        lines.push_back("Info triggerTask trigger task: " + type.toStdString());
    }
    QCOMPARE(m_host.library.logLines(), lines);
}

void tst_Meeting::lostMessagesAreRefused()
{
    Recorder recorder;
    QVERIFY(registerTask(&recorder));
    QVERIFY(m_host.library.account().waitUntilIdle(10000));
    m_host.library.log().reset();
    const QByteArray message = R"({"msgType":"getMeetingStatus"})";
    QCOMPARE(send(message, MessageContext::gone), 0);
    QCOMPARE(send(message, MessageContext::empty), 0);
    QVERIFY(m_host.library.logLines().empty());
    QCOMPARE(send(message, MessageContext::nullObject), 0);
    QCOMPARE(m_host.library.logLines(),
             std::vector<std::string>{"Info operator() contextPtr is null"});
}

void tst_Meeting::meetingDataIsAskedFor_data()
{
    const auto row = columns<QByteArray, QByteArray, QByteArray>(
        "script", "task", "line"); // no task, no line: none comes

    const QByteArray entered =
        R"({"data":{"accessCode":"","meetingUrl":""},"dataType":"enterMeeting"})";
    row("granted", R"({"statuses":[50,100],"reply":{"taskResult":{"bResult":true}}})", entered,
        "triggerTask trigger task: enterMeeting");
    row("inside the request",
        R"({"thread":"caller","statuses":[100],"reply":{"taskResult":{"bResult":true}}})", entered,
        "triggerTask trigger task: enterMeeting");
    row("refused", R"({"statuses":[100],"reply":{"taskResult":{"bResult":0}}})", "",
        "operator() getMeetingData ret result fail");
    row("no application", R"({"statuses":[101]})", "", "operator() OfficeAppNotExist");
    row("not finished", R"({"statuses":[-5,99]})", "", "");
    row("not submitted", R"({"refuse":true})", "", "");
}

void tst_Meeting::meetingDataIsAskedFor()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, task);
    QFETCH(QByteArray, line);

    m_host.library.log().reset();
    QVERIFY(m_host.script("notifyOfficeMsg/enterMeeting", script));
    Recorder recorder;
    QVERIFY(registerTask(&recorder));
    QVERIFY(m_host.library.account().waitUntilIdle(10000));
    if (!task.isEmpty()) {
        QCOMPARE(recorder.text(0), task);
    }
    QCOMPARE(m_host.library.logLines(),
             line.isEmpty() ? std::vector<std::string>{}
                            : std::vector<std::string>{"Info " + line.toStdString()});
}

void tst_Meeting::statusIsReported_data()
{
    const auto row = columns<QByteArray, QByteArray>("script", "reply");

    row("accepted", R"({"statuses":[20,100],"reply":{"taskResult":{"bResult":true}}})",
        R"({"msg":"success","result":"ok"})");
    row("not accepted", R"({"statuses":[102],"reply":{}})", failure("changeMeetingStatus fail"));
    row("no application", R"({"statuses":[101],"reply":{"taskResult":{"bResult":true}}})",
        failure("no office app"));
    row("not submitted", R"({"refuse":true})", failure("submit to office fail"));
}

void tst_Meeting::statusIsReported()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, reply);

    QVERIFY(m_host.script("notifyOfficeMsg/getMeetingStatus", script));
    QCOMPARE(m_host.asynCall("meeting.changeMeetingStatus",
                             R"({"event":"e","busyType":7,"data":{"d":[1]},"more":1})"),
             reply);
    QCOMPARE(m_host.argumentsOf("submit notifyOfficeMsg"),
             QByteArrayList{R"({"busyType":"7","data":{"d":[1]},"event":"e",)"
                            R"("msgType":"getMeetingStatus"})"});
    QVERIFY(m_host.hasContexts());
}

void tst_Meeting::incompleteStatusIsRefused_data()
{
    const auto row = columns<QByteArray>("params");

    row("nothing", "{}");
    row("no event", R"({"busyType":"b","data":{"d":1}})");
    row("empty busyType", R"({"event":"e","busyType":"","data":{"d":1}})");
    row("data is a text", R"({"event":"e","busyType":"b","data":"d"})");
    row("empty data", R"({"event":"e","busyType":"b","data":{}})");
}

void tst_Meeting::incompleteStatusIsRefused()
{
    QFETCH(QByteArray, params);

    QCOMPARE(m_host.asynCall("meeting.changeMeetingStatus", params),
             failure("event, data or busyType is empty"));
    QVERIFY(m_host.argumentsOf("submit notifyOfficeMsg").isEmpty());
}

void tst_Meeting::uninitWaitsForARunningTask()
{
    std::atomic<bool> isEntered{false};
    std::atomic<bool> mayReturn{false};
    std::atomic<bool> hasReturned{false};
    Recorder recorder;
    recorder.runInside([&] {
        isEntered = true;
        while (!mayReturn) {
            std::this_thread::yield();
        }
        m_host.call("accessbase.getDeviceInfo"); // a callback may call back, even now
        hasReturned = true;
    });
    QVERIFY(registerTask(&recorder));
    std::thread sender([&] { send(R"({"msgType":"getMeetingStatus"})"); });
    QTRY_VERIFY(isEntered);

    std::thread releaser([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // uninit is waiting by then
        mayReturn = true;
    });
    QVERIFY(m_host.framework.uninit());
    QVERIFY(hasReturned);
    sender.join();
    releaser.join();
    QCOMPARE(recorder.text(0), QByteArray(R"({"dataType":"getMeetingStatus"})"));
}

QTEST_APPLESS_MAIN(tst_Meeting)
#include "tst_meeting.moc"
