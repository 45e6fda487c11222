#include "log/logline.h"
#include "log/zelectronlogproxy.h"
#include "support/loadedlibrary.h"
#include "support/rows.h"

#include <QtTest>

#include <sys/resource.h>

class tst_LogLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void foreignTextArrivesAsItIs_data();
    void foreignTextArrivesAsItIs();
    void everyPlaceConvertsAsByQt();
    void placesTakeTheirValues();
    void levelsAndModule();
    void nothingIsWrittenWithoutProxy();
    void lineWithoutMemoryIsDropped();

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
    const auto row = columns<QByteArray, QString>("utf8", "expected");

    row("plain", "text", "text");
    row("empty", "", "");
    row("places", "%1 %2 %10 %", "%1 %2 %10 %");
    row("beyond ASCII", "a\u00e9\u4e2d", QString::fromUtf8("a\u00e9\u4e2d"));
    row("beyond U+FFFF", "\U0001F600", QString::fromUtf8("\U0001F600"));
    row("invalid UTF-8", "a\xff z", QString::fromUtf8("a\ufffd z"));
    row("long", QByteArray("a\u00e9").repeated(5000), QString::fromUtf8("a\u00e9").repeated(5000));
    row("mark at the head", "\ufeffa", "a");
    row("mark behind ASCII", "{\"a\":\"\ufeff\"}", QString("{\"a\":\"%1\"}").arg(QChar(0xfeff)));
    row("two marks", "\ufeff\ufeff", QString(QChar(0xfeff)));
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

// Text is looked at in pieces: each kind of character has to be seen wherever in a piece it lies.
void tst_LogLine::everyPlaceConvertsAsByQt()
{
    const QList<QByteArray> kinds{
        "\u00e9", "\u4e2d\u6587", "\U0001F600", "\ufeff", "\uffff",
        // not UTF-8: lone bytes, overlong forms, surrogates, too great, cut
        "\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xf0\x8f\xbf\xbf", "\xed\xa0\x80", "\xf4\x90\x80\x80",
        "\xf8\x88", "\xe4\xb8", "\xf0\x9f\x98"};
    for (const QByteArray &kind : kinds) {
        for (int place = 0; place <= 40; ++place) {
            QByteArray utf8(40, 'x');
            utf8.insert(place, kind).insert(place * 7 % 40, kind);
            m_control->reset();
            logInfo("f", "%1|", {utf8});
            const std::wstring expected = L"f " + QString::fromUtf8(utf8).toStdWString() + L"|";
            QVERIFY2(m_control->lines().at(0).message == expected, utf8.toPercentEncoding());
        }
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

void tst_LogLine::lineWithoutMemoryIsDropped()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("the sanitizers need more address space than the limit leaves");
#endif
    const QByteArray text(1 << 24, 'x');
    rlimit old{};
    QCOMPARE(getrlimit(RLIMIT_AS, &old), 0);
    const rlimit small{1 << 20, old.rlim_max};
    QCOMPARE(setrlimit(RLIMIT_AS, &small), 0);
    bool isThrown = false;
    try {
        logInfo("call", "%1", {text});
    } catch (const std::bad_alloc &) {
        isThrown = true;
    }
    setrlimit(RLIMIT_AS, &old);
    QVERIFY(!isThrown); // an emulator may grant the memory
}

QTEST_APPLESS_MAIN(tst_LogLine)
#include "tst_logline.moc"
