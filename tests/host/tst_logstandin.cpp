#include "log/control.h"
#include "support/childprocess.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>
#include <thread>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The exports, resolved as the log proxy does.
struct Exports
{
    void (*writeMsg)(const wchar_t *, const wchar_t *, const wchar_t *) = nullptr;
    void (*logName)(const wchar_t *) = nullptr;
    const wchar_t *(*savePath)() = nullptr;
    void (*productName)(const wchar_t *) = nullptr;
    void (*aboutToQuit)() = nullptr;
    zefstandin::LogControl *control = nullptr;
};

Exports load()
{
    Exports log;
    void *library = dlopen("libvemolog.so", RTLD_LAZY);
    const auto resolve = [library](const char *name, auto &function) {
        function = reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(library, name));
    };
    resolve("writeMsg", log.writeMsg);
    resolve("explicitDefineLogName", log.logName);
    resolve("getVemoLogSavePath", log.savePath);
    resolve("explicitDefineProductNameForLogPath", log.productName);
    resolve("onAboutToQuit", log.aboutToQuit);
    zefstandin::LogControl *(*control)() = nullptr;
    resolve("zefLogStandinControl", control);
    log.control = control();
    return log;
}

constexpr const char *kLogUntilExit = "logUntilExit";

/// Leaves main while another thread is still logging.
int logUntilExit(const Exports &log, const std::string &folder)
{
    log.control->setBaseDirectory(folder);
    std::thread([log] {
        for (;;) {
            log.writeMsg(L"Info", L"test", L"still here");
        }
    }).detach();
    while (log.control->lines().size() < 50) {
        std::this_thread::yield();
    }
    return 7;
}

unsigned permissions(const QString &path)
{
    struct stat status
    {
    };
    stat(QFile::encodeName(path).constData(), &status);
    return status.st_mode & 0777U;
}

} // namespace

class tst_LogStandin : public QObject
{
    Q_OBJECT

public:
    explicit tst_LogStandin(const Exports &exports) : m_log(exports) {}

private Q_SLOTS:
    void init();

    void everyMessageIsOneLine_data();
    void everyMessageIsOneLine();
    void threadsKeepTheirLinesWhole();
    void lineAfterFullDiskStandsAlone();
    void namesStayBelowTheBase_data();
    void namesStayBelowTheBase();
    void productStaysBelowTheStateFolder();
    void filesAreForTheUserAlone();
    void lineAfterTheQuitNoticeIsAppended();
    void callsAndLinesAreRecorded() const;
    void settingsTakeEffectUntilReset();
    void exitWhileAThreadLogsIsClean();

private:
    QStringList fileLines() const;
    QString currentFile() const { return QString::fromStdString(m_log.control->currentFile()); }
    QString folder() const { return m_base->filePath("tst_logstandin"); }

    Exports m_log;
    std::unique_ptr<QTemporaryDir> m_base;
};

void tst_LogStandin::init()
{
    m_base = std::make_unique<QTemporaryDir>();
    m_log.logName(L"demo");
    m_log.control->reset();
    m_log.control->setBaseDirectory(m_base->path().toStdString());
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
    QTest::addColumn<QString>("level");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("line"); // behind time and level

    const auto row = [](const char *name, const char *level, const char *message,
                        const char *line) {
        QTest::newRow(name) << QString(level) << QString::fromUtf8(message)
                            << QString::fromUtf8(line);
    };
    row("plain", "Info", "some words", "Info %1 test some words");
    row("forged line", "Info", "x\n2000-01-01T00:00:00.000Z Error 1 bank: paid",
        "Info %1 test x\\n2000-01-01T00:00:00.000Z Error 1 bank: paid");
    row("forged level", "Info 1 bank", "m", "Info\\u{20}1\\u{20}bank %1 test m");
    row("no level", "", "m", "- %1 test m");
    row("terminal", "Info", "\x1b[2J\r\x7f\u009b\b",
        "Info %1 test \\u{1b}[2J\\r\\u{7f}\\u{9b}\\u{8}");
    row("separators", "Info", "a\u2028b\u202ec\u0085d",
        "Info %1 test a\\u{2028}b\\u{202e}c\\u{85}d");
    row("backslash", "Info", "a\\nb", "Info %1 test a\\\\nb");
    row("foreign", "Info", "\u4f1a\u8bae \U0001f600 %1", "Info %1 test \u4f1a\u8bae \U0001f600 %1");
}

void tst_LogStandin::everyMessageIsOneLine()
{
    QFETCH(QString, level);
    QFETCH(QString, message);
    QFETCH(QString, line);
    const QString thread = QString::number(gettid());

    m_log.writeMsg(level.toStdWString().c_str(), L"test", message.toStdWString().c_str());
    const QStringList lines = fileLines();
    QCOMPARE(lines.size(), 1);
    const QRegularExpression time(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z $)");
    QVERIFY2(time.match(lines[0].left(25)).hasMatch(), qPrintable(lines[0]));
    QCOMPARE(lines[0].mid(25), line.replace(line.indexOf("%1"), 2, thread));
    QCOMPARE(QString::fromStdWString(m_log.control->lines().at(0).message), message);
}

void tst_LogStandin::threadsKeepTheirLinesWhole()
{
    constexpr int kThreads = 8;
    constexpr int kLines = 300;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([this, number] {
            for (int i = 0; i < kLines; ++i) {
                const std::wstring text = std::to_wstring(number) + L' ' + std::to_wstring(i);
                m_log.writeMsg(L"Info", L"test", text.c_str());
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    const QStringList lines = fileLines();
    const auto recorded = m_log.control->lines();
    QCOMPARE(lines.size(), kThreads * kLines);
    std::vector<int> next(kThreads, 0);
    for (int i = 0; i < lines.size(); ++i) {
        const QString message = QString::fromStdWString(recorded.at(std::size_t(i)).message);
        QCOMPARE(lines[i].section(' ', 4), message);
        QCOMPARE(lines[i].section(' ', 2, 2).toLong(), recorded.at(std::size_t(i)).threadId);
        const auto number = message.section(' ', 0, 0).toUInt();
        QCOMPARE(message.section(' ', 1).toInt(), next[number]++);
    }
}

void tst_LogStandin::lineAfterFullDiskStandsAlone()
{
    m_log.writeMsg(L"Info", L"test", L"first");
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
    rlimit little = before;
    little.rlim_cur = rlim_t(QFileInfo(currentFile()).size()) + 10;
    setrlimit(RLIMIT_FSIZE, &little);
    errno = 42;
    m_log.writeMsg(L"Info", L"test", L"cut off");
    m_log.writeMsg(L"Info", L"test", L"lost");
    const int errnoAfter = errno;
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldAction);
    m_log.writeMsg(L"Info", L"test", L"last");

    QCOMPARE(errnoAfter, 42);
    const QStringList lines = fileLines();
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines[0].section(' ', 4), QString("first"));
    QCOMPARE(lines[1].size(), 10);
    QCOMPARE(lines[2].section(' ', 4), QString("last"));
}

void tst_LogStandin::namesStayBelowTheBase_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("file"); // a pattern

    const auto row = [](const char *name, const QString &logName, const QString &file) {
        QTest::newRow(name) << logName << file;
    };
    const QString hash = "-[0-9a-f]{16}\\.log";
    row("plain", "demo app", "demo app\\.log");
    row("empty", "", "log\\.log");
    row("climbing", "../../../evil", "_\\._\\.\\._\\.\\._evil" + hash);
    row("absolute", "/etc/evil", "_etc_evil" + hash);
    row("option", "-rf", "_rf" + hash);
    row("line break", "a\nb", "a_b" + hash);
    row("too long", QString(5000, 'x'), "x{80}" + hash);
    row("too long, wide", QString(100, QChar(0x4f1a)), QString(26, QChar(0x4f1a)) + hash);
}

void tst_LogStandin::namesStayBelowTheBase()
{
    QFETCH(QString, name);
    QFETCH(QString, file);

    m_log.logName(name.toStdWString().c_str());
    m_log.writeMsg(L"Info", L"test", L"here");
    QCOMPARE(QFileInfo(currentFile()).path(), folder());
    const QStringList files =
        QDir(folder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QCOMPARE(files.size(), 1);
    const QRegularExpression pattern(QRegularExpression::anchoredPattern(file));
    QVERIFY2(pattern.match(files[0]).hasMatch(), qPrintable(files[0]));
}

void tst_LogStandin::productStaysBelowTheStateFolder()
{
    qputenv("XDG_STATE_HOME", QFile::encodeName(m_base->path()));
    m_log.control->setBaseDirectory({});
    m_log.productName(L"../../evil");
    const QString path = QString::fromWCharArray(m_log.savePath());
    QCOMPARE(QFileInfo(path).path(), m_base->filePath("vemolog"));
    QVERIFY(QDir(path).exists("tst_logstandin"));

    const wchar_t *first = m_log.savePath();
    m_log.productName(L"other");
    QCOMPARE(QString::fromWCharArray(m_log.savePath()), m_base->filePath("vemolog/other"));
    QCOMPARE(QString::fromWCharArray(first), path); // what was handed out stays valid
    qunsetenv("XDG_STATE_HOME");
}

void tst_LogStandin::filesAreForTheUserAlone()
{
    m_log.control->setBaseDirectory(m_base->filePath("deep/er").toStdString());
    const mode_t mask = umask(0);
    m_log.writeMsg(L"Info", L"test", L"secret");
    umask(mask);
    QCOMPARE(permissions(m_base->filePath("deep")), 0700U);
    QCOMPARE(permissions(m_base->filePath("deep/er/tst_logstandin")), 0700U);
    QCOMPARE(permissions(currentFile()), 0600U);

    // A link that somebody put in the file's place is not followed.
    QVERIFY(QFile::rename(currentFile(), currentFile() + ".old"));
    QVERIFY(QFile::link(m_base->filePath("target"), currentFile()));
    m_log.aboutToQuit();
    m_log.writeMsg(L"Info", L"test", L"nowhere");
    QVERIFY(!QFile::exists(m_base->filePath("target")));
}

void tst_LogStandin::lineAfterTheQuitNoticeIsAppended()
{
    m_log.writeMsg(L"Info", L"test", L"before");
    const auto isOpen = [this] {
        for (const QFileInfo &entry : QDir("/proc/self/fd").entryInfoList(QDir::Files)) {
            if (entry.symLinkTarget() == currentFile()) {
                return true;
            }
        }
        return false;
    };
    QVERIFY(isOpen());
    m_log.aboutToQuit();
    QVERIFY(!isOpen());
    m_log.writeMsg(L"Info", L"test", L"after");
    QCOMPARE(fileLines().size(), 2);
}

void tst_LogStandin::callsAndLinesAreRecorded() const
{
    m_log.logName(L"caf\u00e9");
    m_log.productName(nullptr);
    m_log.savePath();
    m_log.writeMsg(nullptr, L"m", nullptr);
    m_log.aboutToQuit();
    const std::vector<std::string> expected{"explicitDefineLogName caf\u00e9",
                                            "explicitDefineProductNameForLogPath ",
                                            "getVemoLogSavePath", "onAboutToQuit"};
    QCOMPARE(m_log.control->calls(), expected);
    const auto lines = m_log.control->lines();
    QCOMPARE(int(lines.size()), 1);
    QVERIFY(lines[0].level.empty() && lines[0].module == L"m" && lines[0].message.empty());
    QCOMPARE(lines[0].threadId, long(gettid()));
}

void tst_LogStandin::settingsTakeEffectUntilReset()
{
    m_log.control->setSubdirectoryMissing(true);
    m_log.control->setSavePathNull(true);
    m_log.control->setSilent(true);
    QCOMPARE(m_log.savePath(), nullptr);
    m_log.writeMsg(L"Info", L"test", L"unheard");
    QVERIFY(m_log.control->lines().empty());
    QVERIFY(QDir(m_base->path()).isEmpty());

    m_log.control->reset();
    m_log.control->setBaseDirectory(m_base->path().toStdString());
    QCOMPARE(QString::fromWCharArray(m_log.savePath()), m_base->path());
    QVERIFY(QDir(folder()).exists());
    QVERIFY(currentFile().isEmpty());
    m_log.control->setDelayMilliseconds(30);
    QElapsedTimer timer;
    timer.start();
    m_log.writeMsg(L"Info", L"test", L"slow");
    QVERIFY(timer.elapsed() >= 30);
    QCOMPARE(fileLines().size(), 1);
}

void tst_LogStandin::exitWhileAThreadLogsIsClean()
{
    for (int run = 0; run < 20; ++run) {
        const ChildResult result = runChild(
            {siblingProgram("tst_logstandin"), kLogUntilExit, m_base->path().toStdString()});
        QCOMPARE(result.exitCode, 7);
        QCOMPARE(result.errors, std::string());
    }
}

int main(int count, char **arguments)
{
    const Exports log = load();
    if (count == 3 && std::string(arguments[1]) == kLogUntilExit) {
        return logUntilExit(log, arguments[2]);
    }
    tst_LogStandin test(log);
    return QTest::qExec(&test, count, arguments);
}

#include "tst_logstandin.moc"
