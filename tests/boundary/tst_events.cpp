#include "support/interface.h"
#include "support/loadedlibrary.h"
#include "support/recorder.h"
#include "support/rows.h"

#include <QtTest>

#include <atomic>
#include <vector>

using zefstandin::Thread;
using zelectronframeworkspace::IElectronFramework;
using zelectronframeworkspace::ListenerHandle;

class tst_Events : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // subscription
    void pathsAreChecked_data();
    void pathsAreChecked();
    void everyEventReachesItsListeners_data();
    void everyEventReachesItsListeners();
    void nullCallbackGetsAHandle();

    // removal
    void removalEndsOneSubscription();
    void handlesNeverComeBack();
    void removalWaitsForARunningCallback();
    void callbackMayRemoveItself();

private:
    ListenerHandle listen(const char *event, Recorder *callback)
    {
        return m_framework.addListener(event, callback);
    }
    void raise(const char *event)
    {
        QVERIFY(m_library.account().raiseSignal(event, Thread::library));
    }
    void raiseAndWait(const char *event);

    LoadedLibrary &m_library = LoadedLibrary::instance();
    IElectronFramework &m_framework = m_library.framework();
};

void tst_Events::init()
{
    m_library.log().reset();
    m_library.account().reset();
    QVERIFY(m_library.start());
    m_library.account().setRecording(false);

    // The account library reports the end of its start a little later: that event is none of ours.
    QVERIFY(m_library.account().waitUntilIdle(10000));
    Recorder marker;
    QVERIFY(m_framework.asynCall("nowhere.method", "{}", &marker));
    marker.take();
    const std::string line = "Info operator() asynCall result";
    QTRY_VERIFY(m_library.logLines().back().rfind(line, 0) == 0); // written after the delivery
}

void tst_Events::cleanup()
{
    QVERIFY(m_framework.uninit());
}

/// Returns when every listener has got the event.
void tst_Events::raiseAndWait(const char *event)
{
    Recorder marker;
    const QByteArray path = QByteArray("account.") + event;
    const ListenerHandle handle = listen(path, &marker);
    raise(event);
    QCOMPARE(marker.text(), QByteArray("{}"));
    m_framework.removeListener(handle);
}

void tst_Events::pathsAreChecked_data()
{
    const auto row = columns<QByteArray, bool>("path", "isAccepted");

    row("event", "account.userInfoChanged", true);
    row("further parts", "account.cookieUpdated.more", true);
    row("no point", "account", false);
    row("no module", "userInfoChanged", false);
    row("module in other case", "Account.userInfoChanged", false);
    row("event in other case", "account.UserInfoChanged", false);
    row("other module", "meeting.initFinished", false);
    row("empty event", "account.", false);
    row("empty", "", false);
    row("place holder", "account.%1", false);
}

void tst_Events::pathsAreChecked()
{
    QFETCH(QByteArray, path);
    QFETCH(bool, isAccepted);

    m_library.log().reset();
    Recorder recorder;
    QCOMPARE(listen(path, &recorder) != 0, isAccepted);
    QCOMPARE(m_library.logLines(),
             (std::vector<std::string>{"Info addListener addListener, eventName:" +
                                       path.toStdString()}));
    QCOMPARE(listen(nullptr, &recorder), 0u);
}

void tst_Events::everyEventReachesItsListeners_data()
{
    const auto row = columns<QByteArray>("event");

    for (const std::string &path : Interface::instance().events) {
        const QByteArray event = QByteArray::fromStdString(path).split('.').last();
        row(event.constData(), event);
    }
}

void tst_Events::everyEventReachesItsListeners()
{
    QFETCH(QByteArray, event);

    Recorder first;
    Recorder second;
    Recorder other;
    const QByteArray path = "account." + event;
    QVERIFY(listen(path, &first) != listen(path, &second));
    listen(event == "cookieUpdated" ? "account.initFinished" : "account.cookieUpdated", &other);
    Recorder asynchronous;
    m_framework.asynCall("nowhere.method", "{}", &asynchronous);
    const std::thread::id hostThread = asynchronous.take().thread;

    raise(event);
    for (Recorder *recorder : {&first, &second}) {
        const Recorder::Delivery delivery = recorder->take();
        QCOMPARE(delivery.text, QByteArray("{}"));
        QCOMPARE(delivery.length, zelectronframeworkspace::kLengthNotGiven);
        QVERIFY(delivery.thread == hostThread);
    }
    raiseAndWait(event);
    QCOMPARE(first.text(0), QByteArray("{}"));
    QCOMPARE(second.text(0), QByteArray("{}"));
    QCOMPARE(other.count(), std::size_t(0));
}

void tst_Events::nullCallbackGetsAHandle()
{
    const ListenerHandle handle = listen("account.cookieUpdated", nullptr);
    QVERIFY(handle != 0);
    raiseAndWait("cookieUpdated");
    m_framework.removeListener(handle);
}

void tst_Events::removalEndsOneSubscription()
{
    Recorder removed;
    Recorder kept;
    const ListenerHandle handle = listen("account.cookieUpdated", &removed);
    listen("account.cookieUpdated", &kept);
    m_framework.removeListener(handle);
    m_framework.removeListener(handle);
    for (ListenerHandle invented = 0; invented < 10000; ++invented) {
        m_framework.removeListener(invented);
    }
    m_framework.removeListener(~ListenerHandle(0));

    raiseAndWait("cookieUpdated");
    QCOMPARE(kept.text(0), QByteArray("{}"));
    QCOMPARE(removed.count(), std::size_t(0));
}

void tst_Events::handlesNeverComeBack()
{
    Recorder recorder;
    ListenerHandle last = 0;
    for (int i = 0; i < 1000; ++i) {
        const ListenerHandle handle = listen("account.cookieUpdated", &recorder);
        QVERIFY(handle > last);
        last = handle;
        m_framework.removeListener(handle);
    }
    QVERIFY(m_framework.uninit());
    QVERIFY(m_library.start());
    QVERIFY(listen("account.cookieUpdated", &recorder) > last);
}

void tst_Events::removalWaitsForARunningCallback()
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
        hasReturned = true;
    });
    const ListenerHandle handle = listen("account.cookieUpdated", &recorder);
    raise("cookieUpdated");
    QTRY_VERIFY(isEntered);

    std::atomic<bool> isRemoved{false};
    std::thread remover([&] {
        m_framework.removeListener(handle);
        isRemoved = hasReturned.load();
    });
    // Another removal, and calls, are not held up by it.
    m_framework.removeListener(listen("account.cookieUpdated", nullptr));
    QVERIFY(!isRemoved);
    mayReturn = true;
    remover.join();
    QVERIFY(isRemoved);
    recorder.take();
}

void tst_Events::callbackMayRemoveItself()
{
    Recorder recorder;
    Recorder neighbour;
    ListenerHandle own = 0;
    ListenerHandle next = 0;
    recorder.runInside([&] {
        m_framework.removeListener(own);
        m_framework.removeListener(next);
    });
    own = listen("account.cookieUpdated", &recorder);
    next = listen("account.cookieUpdated", &neighbour);
    raiseAndWait("cookieUpdated");
    raiseAndWait("cookieUpdated");
    QCOMPARE(recorder.text(0), QByteArray("{}"));
    QCOMPARE(recorder.count(), std::size_t(0));
    QCOMPARE(neighbour.count(), std::size_t(0));
}

QTEST_APPLESS_MAIN(tst_Events)
#include "tst_events.moc"
