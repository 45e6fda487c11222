#include "log/logline.h"
#include "log/zelectronlogproxy.h"
#include "support/loadedlibrary.h"

#include <QtTest>

class tst_LogLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void foreignTextArrivesAsItIs_data();
    void foreignTextArrivesAsItIs();
    void placesTakeTheirValues();
    void levelsAndModule();
    void nothingIsWrittenWithoutProxy();

private:
    zefstandin::LogControl *m_control = nullptr;
};

void tst_LogLine::init()
{
    m_control = &LoadedLibrary::instance().log();
    m_control->reset();
    auto *logProxy = new ZElectronLogProxy;
    QVERIFY(logProxy->load());
    g_logProxy = logProxy;
}

void tst_LogLine::cleanup()
{
    delete g_logProxy.load();
    QVERIFY(!g_logProxy);
}

void tst_LogLine::foreignTextArrivesAsItIs_data()
{
    QTest::addColumn<QByteArray>("utf8");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain") << QByteArray("text") << "text";
    QTest::newRow("empty") << QByteArray("") << "";
    QTest::newRow("places") << QByteArray("%1 %2 %10 %") << "%1 %2 %10 %";
    QTest::newRow("beyond ASCII") << QByteArray("a\u00e9\u4e2d")
                                  << QString::fromUtf8("a\u00e9\u4e2d");
    QTest::newRow("beyond U+FFFF") << QByteArray("\U0001F600") << QString::fromUtf8("\U0001F600");
    QTest::newRow("invalid UTF-8") << QByteArray("a\xff z") << QString::fromUtf8("a\ufffd z");
}

void tst_LogLine::foreignTextArrivesAsItIs()
{
    QFETCH(QByteArray, utf8);
    QFETCH(QString, expected);

    logInfo("f", "<%1>", {utf8.constData()});
    logInfo("f", "<%1>", {utf8});
    logInfo("f", "<%1>", {QString::fromUtf8(utf8)});

    const std::wstring line = L"f <" + expected.toStdWString() + L">";
    QCOMPARE(m_control->lines().size(), std::size_t(3));
    for (const zefstandin::LogLine &written : m_control->lines()) {
        QVERIFY(written.message == line);
    }
}

void tst_LogLine::placesTakeTheirValues()
{
    logInfo("f", "%2 %1 %3 %4 100%", {"%2", -7, QStringLiteral("%1")});
    logInfo("f", "null %1", {static_cast<const char *>(nullptr)});

    QVERIFY(m_control->lines().at(0).message == L"f -7 %2 %1 %4 100%");
    QVERIFY(m_control->lines().at(1).message == L"f null ");
}

void tst_LogLine::levelsAndModule()
{
    logInfo("f", "a");
    logError("f", "b");
    g_logProxy.load()->warning(L"m", L"c");

    const auto lines = m_control->lines();
    QVERIFY(lines.at(0).level == L"Info" && lines.at(0).module == L"zelectronframework");
    QVERIFY(lines.at(1).level == L"Error" && lines.at(1).message == L"f b");
    QVERIFY(lines.at(2).level == L"Warning" && lines.at(2).module == L"m");
}

void tst_LogLine::nothingIsWrittenWithoutProxy()
{
    ZElectronLogProxy *logProxy = g_logProxy.exchange(nullptr);
    logInfo("f", "a");
    g_logProxy = logProxy;
    QVERIFY(m_control->lines().empty());
}

QTEST_APPLESS_MAIN(tst_LogLine)
#include "tst_logline.moc"
