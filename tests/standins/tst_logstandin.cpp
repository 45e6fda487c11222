#include "log/control.h"
#include "support/rows.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <thread>

#include <dlfcn.h>
#include <sys/stat.h>

/// What the mock's log may not do to a user: lose or forge lines, leave its folder, show itself to
/// others, fill the disk. The rest is exercised by every test that reads log lines.
class tst_LogStandin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void everyMessageIsOneLine_data();
    void everyMessageIsOneLine();
    void threadsKeepTheirLinesWhole();
    void namesStayBelowTheBase_data();
    void namesStayBelowTheBase();
    void filesAreForTheUserAlone();
    void filesRotate();
    void resetEndsEveryMode();
    void recordsAreBounded();

private:
    void write(const QString &message, const QString &level = "Info");
    QStringList fileLines() const;
    QString currentFile() const { return QString::fromStdString(m_control->currentFile()); }

    void (*m_writeMsg)(const wchar_t *, const wchar_t *, const wchar_t *) = nullptr;
    void (*m_logName)(const wchar_t *) = nullptr;
    zefstandin::LogControl *m_control = nullptr;
    std::unique_ptr<QTemporaryDir> m_base;
};

void tst_LogStandin::initTestCase()
{
    void *library = dlopen("libvemolog.so", RTLD_LAZY);
    m_writeMsg = reinterpret_cast<decltype(m_writeMsg)>(dlsym(library, "writeMsg"));
    m_logName = reinterpret_cast<decltype(m_logName)>(dlsym(library, "explicitDefineLogName"));
    m_control =
        reinterpret_cast<decltype(&zefLogStandinControl)>(dlsym(library, "zefLogStandinControl"))();
}

void tst_LogStandin::init()
{
    m_base = std::make_unique<QTemporaryDir>();
    m_logName(L"demo");
    m_control->reset();
    m_control->setBaseDirectory(m_base->path().toStdString());
}

void tst_LogStandin::write(const QString &message, const QString &level)
{
    m_writeMsg(level.toStdWString().c_str(), L"test", message.toStdWString().c_str());
}

QStringList tst_LogStandin::fileLines() const
{
    QFile file(currentFile());
    const bool isOpen = file.open(QIODevice::ReadOnly);
    QStringList lines = QString::fromUtf8(isOpen ? file.readAll() : QByteArray()).split('\n');
    return lines.takeLast().isEmpty() ? lines : QStringList("the last line has no end");
}

void tst_LogStandin::everyMessageIsOneLine_data()
{
    // line: from the level on, * for process and thread
    const auto row = columns<QString, QString, QString>("level", "message", "line");

    row("plain", "Info", "some words", "Info * test some words");
    row("forged line", "Info", "x\n2000-01-01T00:00:00.000Z Error 1 bank: paid",
        "Info * test x\\n2000-01-01T00:00:00.000Z Error 1 bank: paid");
    row("forged level", "Info 1 bank", "m", "Info\\u{20}1\\u{20}bank * test m");
    row("terminal", "Info", "\x1b[2J\r\x7f", "Info * test \\u{1b}[2J\\r\\u{7f}");
    row("separators", "Info", QString::fromUtf8("a\u2028b\u202ec"),
        "Info * test a\\u{2028}b\\u{202e}c");
}

void tst_LogStandin::everyMessageIsOneLine()
{
    QFETCH(QString, level);
    QFETCH(QString, message);
    QFETCH(QString, line);

    write(message, level);
    const QStringList lines = fileLines();
    QCOMPARE(lines.size(), 1);
    const QString expected = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z )" +
                             QRegularExpression::escape(line).replace(
                                 "\\*", QString("%1/\\d+").arg(QCoreApplication::applicationPid()));
    const QRegularExpression pattern(QRegularExpression::anchoredPattern(expected));
    QVERIFY2(pattern.match(lines[0]).hasMatch(), qPrintable(lines[0]));
}

void tst_LogStandin::threadsKeepTheirLinesWhole()
{
    constexpr int kLines = 300;
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([this, number] {
            for (int i = 0; i < kLines; ++i) {
                write(QString("%1 %2").arg(number).arg(i));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    const QStringList lines = fileLines();
    QCOMPARE(lines.size(), 8 * kLines);
    std::vector<int> next(8, 0);
    for (const QString &line : lines) {
        QCOMPARE(line.section(' ', 5).toInt(), next[line.section(' ', 4, 4).toUInt()]++);
    }
}

void tst_LogStandin::namesStayBelowTheBase_data()
{
    // file: a pattern
    const auto row = columns<QString, QString>("name", "file");

    const QString hash = "-[0-9a-f]{16}\\.log";
    row("plain", "demo app", "demo app\\.log");
    row("climbing", "../../../evil", "_\\._\\.\\._\\.\\._evil" + hash);
    row("option", "-rf", "_rf" + hash);
    row("too long", QString(5000, 'x'), "x{80}" + hash);
}

void tst_LogStandin::namesStayBelowTheBase()
{
    QFETCH(QString, name);
    QFETCH(QString, file);

    m_logName(name.toStdWString().c_str());
    write("here");
    const QDir folder(m_base->filePath("tst_logstandin"));
    const QStringList files =
        folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QCOMPARE(files.size(), 1);
    const QRegularExpression pattern(QRegularExpression::anchoredPattern(file));
    QVERIFY2(pattern.match(files[0]).hasMatch(), qPrintable(files[0]));
}

void tst_LogStandin::filesAreForTheUserAlone()
{
    const mode_t mask = umask(0);
    write("secret");
    umask(mask);
    struct stat status = {};
    QCOMPARE(stat(qPrintable(currentFile()), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
    QCOMPARE(stat(qPrintable(m_base->filePath("tst_logstandin")), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0700U);

    // A link that somebody put in the file's place is not followed.
    const QString file = currentFile();
    m_logName(L"demo"); // closes the file
    QVERIFY(QFile::remove(file) && QFile::link(m_base->filePath("target"), file));
    write("nowhere");
    QVERIFY(!QFile::exists(m_base->filePath("target")));
}

void tst_LogStandin::filesRotate()
{
    const QString message(1000000, 'x');
    for (int i = 0; i < 25; ++i) {
        write(message);
    }
    QCOMPARE(QFileInfo(currentFile()).size() / 1000000, 5);
    QCOMPARE(QFileInfo(currentFile() + ".1").size() / 1000000, 10);
}

void tst_LogStandin::resetEndsEveryMode()
{
    m_control->setThrowing(true);
    m_control->setSilent(true);
    m_control->reset();
    m_control->setBaseDirectory(m_base->path().toStdString());
    write("written"); // and not thrown
    QCOMPARE(fileLines().size(), 1);
}

void tst_LogStandin::recordsAreBounded()
{
    m_control->setRecording(true);
    for (int i = 0; i <= 10000; ++i) {
        write(QString::number(i));
    }
    const std::vector<zefstandin::LogLine> lines = m_control->lines();
    m_control->setRecording(false);
    QCOMPARE(lines.size(), std::size_t(10000));
    QCOMPARE(lines.front().message, std::wstring(L"1"));
}

QTEST_APPLESS_MAIN(tst_LogStandin)
#include "tst_logstandin.moc"
