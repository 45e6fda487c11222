#include "support/loadedlibrary.h"
#include "support/recorder.h"
#include "support/rows.h"

#include <QFile>
#include <QtTest>

#include <atomic>
#include <vector>

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

using zelectronframeworkspace::IElectronFramework;

class tst_Lifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // before, between and after runs
    void everyThreadGetsTheSameObject();
    void everythingIsRefusedUnlessRunning();
    void nullSettingsStartNothing();
    void secondInitStartsNothing();
    void uninitWaitsForItsThread();

    // start-up that fails
    void badSettingsAreReported_data();
    void badSettingsAreReported();
    void failingAccountLibraryFailsInit_data();
    void failingAccountLibraryFailsInit();
    void unusualValuesPass();

    // order of start and shutdown
    void startAndShutdownGoInOrder();
    void uninitRunsQueuedMethodsFirst();
    void uninitInsideCallbackIsRefused();

private:
    void verifyRefused();

    LoadedLibrary &m_library = LoadedLibrary::instance();
    IElectronFramework &m_framework = m_library.framework();
};

void tst_Lifecycle::init()
{
    m_library.log().reset();
    m_library.account().reset();
}

void tst_Lifecycle::cleanup()
{
    m_framework.uninit();
}

void tst_Lifecycle::everyThreadGetsTheSameObject()
{
    std::vector<std::thread> threads;
    threads.reserve(16);
    std::atomic<int> same{0};
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back(
            [&] { same += &LoadedLibrary::instance().framework() == &m_framework; });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(same.load(), 16);
}

/// Everything but the end of a run.
void tst_Lifecycle::verifyRefused()
{
    Recorder recorder;
    QVERIFY(!m_framework.call("utils.getLogPath", "{}", &recorder));
    QVERIFY(!m_framework.asynCall("utils.getLogPath", "{}", &recorder));
    QVERIFY(!m_framework.registerCallbackFunc("meetingDataChangeTask", &recorder));
    QCOMPARE(m_framework.addListener("account.cookieUpdated", &recorder), 0u);
    m_framework.removeListener(1);
    QCOMPARE(recorder.count(), std::size_t(0));
}

void tst_Lifecycle::everythingIsRefusedUnlessRunning()
{
    verifyRefused();
    QVERIFY(m_library.start());
    QVERIFY(m_framework.uninit());
    verifyRefused();
    QVERIFY(!m_framework.uninit());
}

void tst_Lifecycle::nullSettingsStartNothing()
{
    QVERIFY(!m_framework.init(nullptr));
    QVERIFY(!m_framework.uninit());
}

void tst_Lifecycle::secondInitStartsNothing()
{
    QVERIFY(m_library.start());
    m_library.log().reset();
    QVERIFY(m_framework.init("not JSON"));
    QVERIFY(m_framework.init(nullptr));
    QVERIFY(m_library.log().calls().empty());
}

void tst_Lifecycle::uninitWaitsForItsThread()
{
    for (int run = 0; run < 50; ++run) {
        QVERIFY(m_library.start());
        QString task;
        Recorder recorder;
        recorder.runInside(
            [&task] { task = QStringLiteral("/proc/self/task/%1").arg(syscall(SYS_gettid)); });
        QVERIFY(m_framework.asynCall("utils.unknown", "{}", &recorder));
        QVERIFY(recorder.take().thread != std::this_thread::get_id());
        QVERIFY(m_framework.uninit());
        QVERIFY2(!QFile::exists(task), "the host thread is still ending");
    }
}

void tst_Lifecycle::badSettingsAreReported_data()
{
    const auto row = columns<QByteArray, QByteArray>("settings", "message");

    const QByteArray lacksName = "Error checkParamsValid init param lack appName key";
    row("empty text", "", lacksName);
    row("no JSON", "{", lacksName);
    row("a list", "[1]", lacksName);
    row("no app", "{}", lacksName);
    row("app is no object", R"({"app":5})", lacksName);
    row("first of several", R"({"app":{"appName":"a"}})",
        "Error checkParamsValid init param lack productName key");
    row("last one lacks", R"({"app":{"appName":"a","productName":"p","version":5}})",
        "Error checkParamsValid init param lack localStoragePath key");
    row("empty value",
        R"({"app":{"appName":"a","productName":"p","version":"","localStoragePath":""}})",
        "Error checkParamsValid init param key version is empty");
}

void tst_Lifecycle::badSettingsAreReported()
{
    QFETCH(QByteArray, settings);
    QFETCH(QByteArray, message);

    QVERIFY(!m_framework.init(settings));
    QCOMPARE(m_library.logLines(), std::vector<std::string>{message.toStdString()});
    QVERIFY(m_library.account().calls().empty());

    verifyRefused();
    QVERIFY(m_library.start()); // runs already, though not initialised
    verifyRefused();

    QVERIFY(m_framework.uninit());
    QVERIFY(m_library.start());
    QVERIFY(m_framework.call("utils.getLogPath", "{}", nullptr));
}

void tst_Lifecycle::failingAccountLibraryFailsInit_data()
{
    const auto row = columns<QByteArray, QByteArray, QByteArray>(
        "operation", "script",
        "calls"); // what reaches the library until uninit has returned

    row("InitInterface", "InitInterface", R"({"refuse":true})", "InitInterface UninitInterface");
    row("GetInterface", "GetInterface", R"({"refuse":true})",
        "InitInterface GetInterface UninitInterface");
    row("null interface", "GetInterface", R"({"null":true})",
        "InitInterface GetInterface UninitInterface");
    row("init", "init", R"({"refuse":true})",
        "InitInterface GetInterface init uninit UninitInterface");
    row("init throws", "init", R"({"throw":"broken"})",
        "InitInterface GetInterface init uninit UninitInterface");
}

void tst_Lifecycle::failingAccountLibraryFailsInit()
{
    QFETCH(QByteArray, operation);
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, calls);

    QVERIFY(m_library.account().script(operation.toStdString(), script.toStdString()));
    QVERIFY(!m_library.start());
    verifyRefused();
    QVERIFY(m_framework.uninit());

    QByteArrayList names;
    for (const zefstandin::Call &call : m_library.account().calls()) {
        names.append(QByteArray::fromStdString(call.name));
    }
    QCOMPARE(names.join(' '), calls);

    m_library.account().reset();
    QVERIFY(m_library.start());
}

void tst_Lifecycle::unusualValuesPass()
{
    QVERIFY(m_framework.init(R"({"app":{"appName":"a","productName":[],"version":5,)"
                             R"("localStoragePath":null}})"));
}

void tst_Lifecycle::startAndShutdownGoInOrder()
{
    QVERIFY(m_library.start());
    QCOMPARE(m_library.log().calls(),
             (std::vector<std::string>{"explicitDefineLogName zefTest",
                                       "explicitDefineProductNameForLogPath zefTest"}));
    QCOMPARE(m_library.logLines(), std::vector<std::string>{"Info init init account success"});

    QVERIFY(m_framework.uninit());
    QCOMPARE(m_library.log().calls().back(), std::string("onAboutToQuit"));
    const auto calls = m_library.account().calls();
    QCOMPARE(calls.at(calls.size() - 2).name, std::string("uninit"));
    QCOMPARE(calls.back().name, std::string("UninitInterface"));
    QVERIFY(!dlopen("libzaccountlite.so", RTLD_LAZY | RTLD_NOLOAD)); // really unloaded

    m_library.log().reset();
    QVERIFY(!m_framework.init("{}"));
    QCOMPARE(m_library.log().calls().front(), std::string("explicitDefineLogName electronApp"));
}

void tst_Lifecycle::uninitRunsQueuedMethodsFirst()
{
    QVERIFY(m_library.start());
    Recorder recorder;
    for (int i = 0; i < 1000; ++i) {
        QVERIFY(m_framework.asynCall("accessbase.getDeviceInfo", "{}", &recorder));
    }
    QVERIFY(m_framework.asynCall("nowhere.method", "{}", &recorder));
    QVERIFY(m_framework.uninit());

    for (int i = 0; i < 1000; ++i) {
        QVERIFY(recorder.text(0).contains(R"("result":"ok")"));
    }
    QCOMPARE(recorder.text(0), QByteArray(R"({"msg":"nowhere not found","result":"fail"})"));
}

void tst_Lifecycle::uninitInsideCallbackIsRefused()
{
    QVERIFY(m_library.start());
    Recorder recorder;
    std::atomic<int> refused{0};
    recorder.runInside([&] { refused += !m_framework.uninit(); });

    QVERIFY(m_framework.asynCall("nowhere.method", "{}", &recorder)); // host thread
    recorder.take();
    QVERIFY(m_framework.registerCallbackFunc("meetingDataChangeTask", &recorder));
    m_library.account().sendMessage(R"({"msgType":"getMeetingStatus"})",
                                    zefstandin::Thread::library, zefstandin::MessageContext::alive);
    QVERIFY(m_library.account().waitUntilIdle(10000));
    while (recorder.count()) {
        recorder.take();
    }

    QVERIFY(refused >= 2);
    const auto lines = m_library.logLines();
    QVERIFY(std::count(lines.begin(), lines.end(),
                       "Error uninit refused inside a callback of the library") == refused);
    QVERIFY(m_framework.uninit());
}

QTEST_APPLESS_MAIN(tst_Lifecycle)
#include "tst_lifecycle.moc"
