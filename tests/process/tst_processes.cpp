#include "support/childprocess.h"
#include "support/loadedlibrary.h"
#include "support/rows.h"

#include <QtTest>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

class tst_Processes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    // what lies beside the library
    void closedLibrariesMayBeMissing_data();
    void closedLibrariesMayBeMissing();
    void ownFolderComesFirst();
    void libraryFromElsewhereIsReported();
    void linkThatLeadsElsewhereIsReported();
    void ownFolderIsNotElsewhere();

    // the end of a process
    void processEndsAsItWants_data();
    void processEndsAsItWants();

    // the process as a whole
    void scenarioPrints_data();
    void scenarioPrints();

private:
    void put(const QString &name, const QString &file = {});
    void putStandIns();
    ChildResult probe(const char *scenario, std::vector<std::string> environment = {},
                      const QString &library = {});

    std::unique_ptr<QTemporaryDir> m_folder;
    const QString m_built = QString::fromStdString(libraryFolder());
};

void tst_Processes::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    put("libzelectronframework.so");
}

/// Puts a library beside the one under test, under its own name or another one's.
void tst_Processes::put(const QString &name, const QString &file)
{
    const QString source = m_built + '/' + (file.isEmpty() ? name : file);
    QVERIFY2(QFile::exists(source), qPrintable(source));
    QVERIFY(QFile::link(source, m_folder->filePath(name)));
}

void tst_Processes::putStandIns()
{
    for (const char *name : {"libvemolog.so", "libzaccountlite.so", "libzaccountkeeper.so"}) {
        put(name);
    }
}

/// \param library the name by which the host opens the library; by default the absolute one.
ChildResult tst_Processes::probe(const char *scenario, std::vector<std::string> environment,
                                 const QString &library)
{
    environment.push_back("XDG_STATE_HOME=" + m_folder->filePath("state").toStdString());
    if (kIsSanitized) {
        // The sanitizer calls dlopen in the library's place, so the library's run path is not used.
        environment.push_back("LD_LIBRARY_PATH=" + m_folder->path().toStdString() + ':' +
                              qgetenv("LD_LIBRARY_PATH").toStdString());
    }
    const QString name =
        library.isEmpty() ? m_folder->filePath("libzelectronframework.so") : library;
    ChildResult result =
        runChild({siblingProgram("zef_probe"), name.toStdString(), scenario}, environment);
    if (result.exitCode != 7) {
        qWarning("%s", result.errors.c_str());
    }
    return result;
}

void tst_Processes::closedLibrariesMayBeMissing_data()
{
    // log, account: the file under that name; empty for none
    const auto row =
        columns<QString, QString, QByteArray, int>("log", "account", "output", "loadFailures");

    const QString log = "libvemolog.so";
    const QString account = "libzaccountlite.so";
    const auto variant = [](const char *name, const QString &file) {
        return QStringLiteral("../standins/%1/%2").arg(QLatin1String(name), file);
    };
    const QByteArray path("init 1\n{\"data\":{\"path\":");
    const QByteArray noPath(
        "init 1\n{\"msg\":\"log path is null\",\"result\":\"fail\"}\nuninit 1\n");
    const QByteArray notStarted("init 0\nuninit 1\n");

    row("all there", log, account, path, 0);
    row("no log library", QString(), account, noPath, 1);
    row("log without writeMsg", variant("no-write", log), account, path, 0);
    row("log without log name", variant("no-name", log), account, path, 0);
    row("log without product name", variant("no-product", log), account, path, 0);
    row("log without path", variant("no-path", log), account, noPath, 0);
    row("log without quit", variant("no-quit", log), account, path, 0);
    row("no account library", log, QString(), notStarted, 1);
    row("account without init", log, variant("no-init", account), notStarted, 0);
    row("account without get", log, variant("no-get", account), notStarted, 0);
    row("account without uninit", log, variant("no-uninit", account), path, 0);
    row("nothing", QString(), QString(), notStarted, 2);
}

void tst_Processes::closedLibrariesMayBeMissing()
{
    QFETCH(QString, log);
    QFETCH(QString, account);
    QFETCH(QByteArray, output);
    QFETCH(int, loadFailures);

    if (!log.isEmpty()) {
        put("libvemolog.so", log);
    }
    if (!account.isEmpty()) {
        put("libzaccountlite.so", account);
        put("libzaccountkeeper.so");
    }
    const ChildResult result = probe("run");
    QVERIFY2(QByteArray::fromStdString(result.output).startsWith(output), result.output.c_str());
    QCOMPARE(result.exitCode, 7);

    // One message of two items for each library that cannot be loaded, and nothing else.
    const QByteArray errors = QByteArray::fromStdString(result.errors);
    QCOMPARE(errors.count("load fail:  lib"), loadFailures);
    QCOMPARE(errors.count('\n'), loadFailures);
}

void tst_Processes::ownFolderComesFirst()
{
    if (kIsSanitized) {
        QSKIP("the library's run path is not used under a sanitizer");
    }
    putStandIns();
    QTemporaryDir decoys;
    for (const char *name : {"/libvemolog.so", "/libzaccountlite.so"}) {
        QFile decoy(decoys.path() + name);
        QVERIFY(decoy.open(QIODevice::WriteOnly));
        decoy.write("no library");
    }
    const ChildResult result = probe("run", {"LD_LIBRARY_PATH=" + decoys.path().toStdString()});
    QCOMPARE(result.errors, std::string());
    QVERIFY(QByteArray::fromStdString(result.output).startsWith("init 1\n{\"data\""));
}

void tst_Processes::libraryFromElsewhereIsReported()
{
    putStandIns();
    QTemporaryDir elsewhere;
    const QString loaded = elsewhere.filePath("libvemolog.so");
    QVERIFY(QFile::copy(m_built + "/libvemolog.so", loaded));
    const ChildResult result = probe("log-before", {"ZEF_PROBE_LOG=" + loaded.toStdString()});
    QCOMPARE(QString::fromStdString(result.output),
             "init 1\nWarning load libvemolog.so was loaded from elsewhere: " + loaded +
                 "\nInfo init init account success\n");
}

void tst_Processes::linkThatLeadsElsewhereIsReported()
{
    // The library itself lies in its folder, the others are links that lead out of it.
    const QString own = m_folder->filePath("libzelectronframework.so");
    QVERIFY(QFile::remove(own) && QFile::copy(m_built + "/libzelectronframework.so", own));
    putStandIns();
    const ChildResult result =
        probe("log-before", {"ZEF_PROBE_LOG=" + m_folder->filePath("libvemolog.so").toStdString()});
    const QString built = QFileInfo(m_built).canonicalFilePath();
    QCOMPARE(QString::fromStdString(result.output),
             "init 1\nWarning load libvemolog.so was loaded from elsewhere: " + built +
                 "/libvemolog.so\nWarning load libzaccountlite.so was loaded from elsewhere: " +
                 built + "/libzaccountlite.so\nInfo init init account success\n");
}

void tst_Processes::ownFolderIsNotElsewhere()
{
    // The library is a link beside the others, opened by a relative name.
    for (const char *name : {"/libvemolog.so", "/libzaccountlite.so", "/libzaccountkeeper.so"}) {
        QVERIFY(QFile::copy(m_built + name, m_folder->path() + name));
    }
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_folder->path()));
    const ChildResult result = probe("relative", {}, "./libzelectronframework.so");
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(QString::fromStdString(result.output), "init 1\nInfo init init account success\n");
}

void tst_Processes::processEndsAsItWants_data()
{
    const auto row = columns<QByteArray>("scenario");

    for (const char *scenario :
         {"leave-main", "exit-thread", "exit-quick", "exit-callback", "unload"}) {
        row(scenario, scenario);
    }
}

void tst_Processes::processEndsAsItWants()
{
    QFETCH(QByteArray, scenario);

    putStandIns();
    for (int round = 0; round < 5; ++round) {
        const ChildResult result = probe(scenario);
        QCOMPARE(result.exitCode, 7);
        QCOMPARE(result.errors, std::string());
    }
}

void tst_Processes::scenarioPrints_data()
{
    const auto row = columns<QByteArray>("output");

    row("unload", "init 1\nmapped 1\n");
    row("fork", "init 1\nchild 0\nuninit 1\n");
    row("state", "init 1\nrunning 1\nstopped 1\n");
    row("default-context", "init 1\nforeign ticks 0\n");
}

void tst_Processes::scenarioPrints()
{
    QFETCH(QByteArray, output);

    putStandIns();
    const ChildResult result = probe(QTest::currentDataTag(), {"LC_ALL=C.UTF-8"});
    if (QByteArray::fromStdString(result.output).startsWith("no GLib")) {
        QSKIP("GLib is not installed");
    }
    QCOMPARE(QByteArray::fromStdString(result.output), output);
    QCOMPARE(result.errors, std::string());
    QCOMPARE(result.exitCode, 7);
}

QTEST_APPLESS_MAIN(tst_Processes)
#include "tst_processes.moc"
