#include "support/childprocess.h"
#include "support/loadedlibrary.h"
#include "support/rows.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

/// Runs the command-line host as a user does and looks at its exit code and at what it prints.
class tst_Zefhost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    // failures before anything runs
    void badCommandLinesAreRefused_data();
    void badCommandLinesAreRefused();
    void badScriptLinesAreNamed_data();
    void badScriptLinesAreNamed();
    void failedStartsTellWhatToDo_data();
    void failedStartsTellWhatToDo();

    // runs
    void exitCodeTellsWhetherAllWasExpected_data();
    void exitCodeTellsWhetherAllWasExpected();
    void missingAnswerEndsTheWait();
    void jsonOutputIsOneObjectALine();
    void closedLibrariesAreListed();
    void foreignTextIsPrintedHarmlessly();
    void promptTakesCommandsFromInput();
    void recordingsAreCompared_data();
    void recordingsAreCompared();
    void recordingsAreJudgedAsByTheInspector_data();
    void recordingsAreJudgedAsByTheInspector();
    void examplesRun();

private:
    ChildResult run(const QStringList &arguments) const;
    QString write(const QString &name, const QByteArray &content) const;
    QString settings() const { return QStringLiteral(ZEF_SOURCE_DIR "/examples/settings.json"); }

    QTemporaryDir m_folder;
};

#define VERIFY_EXIT(result, code)                                                                  \
    QVERIFY2((result).exitCode == (code), ("exit " + std::to_string((result).exitCode) + '\n' +    \
                                           (result).output + (result).errors)                      \
                                              .c_str())

#define VERIFY_CONTAINS(text, part)                                                                \
    QVERIFY2(QString::fromStdString(text).contains(part), (text).c_str())

void tst_Zefhost::initTestCase()
{
    qputenv("XDG_STATE_HOME", QFile::encodeName(m_folder.path()));
}

ChildResult tst_Zefhost::run(const QStringList &arguments) const
{
    std::vector<std::string> command{siblingProgram("zefhost")};
    for (const QString &argument : arguments) {
        command.push_back(argument.toStdString());
    }
    return runChild(command);
}

QString tst_Zefhost::write(const QString &name, const QByteArray &content) const
{
    QFile file(m_folder.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
               ? file.fileName()
               : QString();
}

void tst_Zefhost::badCommandLinesAreRefused_data()
{
    const auto row = columns<QStringList, QString>("arguments", "error");

    row("no command", {}, "a command is missing");
    row("unknown command", {"dance"}, "unknown command: dance");
    row("unknown option", {"--dance", "call", "a.b"}, "--dance");
    row("too much", {"call", "a.b", "{}", "c"}, "unexpected argument: c");
    row("no method", {"call"}, "method is required");
    row("broken JSON", {"call", "a.b", "{\"a\":"}, "parse error at line 1");
    row("no object", {"call", "a.b", "[1]"}, "an object {...} is needed");
    row("nested too deep", {"call", "a.b", QString(5000, '[')}, "nested too deep");
    row("negative time", {"listen", "account.x", "--for", "-1"}, "--for");
    row("no script", {"run", "/no/such/script"}, "/no/such/script: No such file or directory");
    row("folder as script", {"run", "/"}, "/: Is a directory");
}

void tst_Zefhost::badCommandLinesAreRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);

    const ChildResult result = run(arguments);
    VERIFY_EXIT(result, 2);
    VERIFY_CONTAINS(result.errors, error);
    QCOMPARE(result.output, std::string());
}

void tst_Zefhost::badScriptLinesAreNamed_data()
{
    const auto row = columns<QByteArray, QString>("line", "error");

    row("no JSON", "call utils.getLogPath", "parse error");
    row("no object", "[]", "an object {...} is needed");
    row("nothing to do", R"({"params":{}})", "nothing to do");
    row("two things to do", R"({"call":"a.b","async":"a.b"})", "both");
    row("name is a number", R"({"call":1})", "\"call\" needs a text");
    row("name with NUL", R"({"call":"a.b\u0000c"})", "NUL");
    row("parameters are a list", R"({"call":"a.b","params":[]})", "\"params\" needs an object");
    row("misspelt key", R"({"call":"a.b","parms":{}})", "unexpected key \"parms\"");
    row("key of another action", R"({"note":"a","timeoutMs":1})", "unexpected key");
    row("unknown expectation", R"({"call":"a.b","expect":"maybe"})", "\"expect\"");
    row("wait for what", R"({"wait":{"answers":false}})", "\"wait\" needs");
    row("negative time", R"({"wait":{"event":"a"},"timeoutMs":-1})", "\"timeoutMs\"");
    row("no recording", R"({"got":{"event":"a"}})", "\"got\" needs the first line");
    row("unknown recording", R"({"recording":2})", "kind that is not known");
    row("of real libraries", R"({"recording":1,"libraries":"real"})", "convert");
}

void tst_Zefhost::badScriptLinesAreNamed()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, error);

    const bool isHeader = line.startsWith("{\"recording\"");
    const QByteArray before =
        isHeader ? "# a note\n\n\n" : "# a note\n\n{\"note\":\"never shown\"}\n";
    const QString script = write("script", before + line);
    const ChildResult result = run({"run", script});
    VERIFY_EXIT(result, 2);
    VERIFY_CONTAINS(result.errors, script + ":4: ");
    VERIFY_CONTAINS(result.errors, error);
    QCOMPARE(result.output, std::string());
}

void tst_Zefhost::failedStartsTellWhatToDo_data()
{
    const auto row = columns<QStringList, QStringList>("options", "errors");

    const QString logLibrary = QString::fromStdString(libraryFolder()) + "/libvemolog.so";
    row("no library", {"--library", "/no/lib.so"}, {"/no/lib.so: cannot open", "--library FILE"});
    row("another library", {"--library", logLibrary},
        {"has no createElectronFrameworkObject", "--library FILE"});
    row("no settings", {"--settings", "/no/file"},
        {"/no/file: No such file", "examples/settings.json"});
    row("settings are no object", {"--settings", write("list", "[]")},
        {"an object {...} is needed", "examples/settings.json"});
    row("settings lack a key", {"--settings", write("lack", R"({"app":{"appName":"a"}})")},
        {"init param lack productName key", "examples/settings.json"});
}

void tst_Zefhost::failedStartsTellWhatToDo()
{
    QFETCH(QStringList, options);
    QFETCH(QStringList, errors);

    const ChildResult result = run(options + QStringList{"call", "utils.getLogPath"});
    VERIFY_EXIT(result, 2);
    for (const QString &error : errors) {
        VERIFY_CONTAINS(result.errors, error);
    }
}

void tst_Zefhost::exitCodeTellsWhetherAllWasExpected_data()
{
    const auto row = columns<QByteArray, int, QString>("script", "exitCode", "output");

    row("ok", R"({"call":"utils.getLogPath"})", 0, "/zefdemo/zefhost\"");
#ifndef __SANITIZE_THREAD__ // which starts a thread of its own meanwhile
    row("ok on the host thread", R"({"async":"utils.getLogPath"})", 0, "asynCall, host thread");
#endif
    row("fail", R"({"call":"utils"})", 1, "Wrong number of arguments");
    row("fail as expected", R"({"async":"utils","expect":"fail"})", 0, "as expected");
    row("ok, not expected", R"({"async":"utils.getLogPath","expect":"fail"})", 1, "NOT EXPECTED");
    row("goes on after a failure", "{\"call\":\"utils\"}\n{\"note\":\"after\"}", 1, "after");
    row("unknown event", R"({"listen":"account.nothing"})", 1, "account.nothing");
    row("event never comes",
        "{\"listen\":\"account.userInfoChanged\"}\n"
        R"({"wait":{"event":"account.userInfoChanged"},"timeoutMs":20})",
        1, "nothing came within 0.02 s");
    row("unknown task", R"({"task":"nothing","expect":"fail"})", 0, "as expected");
    row("unlisten without listen", R"({"unlisten":"account.userInfoChanged"})", 1, "unlisten");
}

void tst_Zefhost::exitCodeTellsWhetherAllWasExpected()
{
    QFETCH(QByteArray, script);
    QFETCH(int, exitCode);
    QFETCH(QString, output);

    const ChildResult result = run({"--settings", settings(), "run", write("script", script)});
    VERIFY_EXIT(result, exitCode);
    VERIFY_CONTAINS(result.output, output);
    QCOMPARE(result.errors, std::string());
}

void tst_Zefhost::missingAnswerEndsTheWait()
{
    const QString silent = write("silent", R"({"app":{"appName":"a","productName":"a",
        "version":"1","localStoragePath":"/var/tmp/a"},
        "standin":{"script":{"logout":{"hold":true}}}})");
    const ChildResult result =
        run({"--settings", silent, "--timeout", "0.1", "async", "account.logout"});
    VERIFY_EXIT(result, 1);
    VERIFY_CONTAINS(result.output, "no answer within 0.1 s");
}

void tst_Zefhost::jsonOutputIsOneObjectALine()
{
    const QString folder = m_folder.filePath("logs");
    const ChildResult result =
        run({"--json", "--show-log", "--log-dir", folder, "call", "utils.getLogPath"});
    VERIFY_EXIT(result, 0);
    QVector<QJsonObject> objects;
    for (const QByteArray &line : QByteArray::fromStdString(result.output).trimmed().split('\n')) {
        objects.append(QJsonDocument::fromJson(line).object());
    }
    QVERIFY(objects.size() > 1);
    const QJsonObject reply = objects.takeFirst();
    QCOMPARE(reply["kind"].toString(), QString("reply"));
    QCOMPARE(reply["thread"].toString(), QString("caller's thread"));
    QCOMPARE(reply["asExpected"].toBool(), true);
    QCOMPARE(reply["reply"].toObject()["data"].toObject()["path"].toString(), folder + "/zefhost");
    for (const QJsonObject &line : objects) {
        QCOMPARE(line["kind"].toString(), QString("log"));
        QVERIFY(!line["message"].toString().isEmpty());
    }
}

void tst_Zefhost::closedLibrariesAreListed()
{
    const ChildResult result = run({"libraries"});
    VERIFY_EXIT(result, 0);
    QCOMPARE(result.errors, std::string());
    const QRegularExpression row(
        "libvemolog\\.so +writeMsg +optional +found +/.*/libvemolog\\.so\n");
    VERIFY_CONTAINS(result.output, row);

    const QString built = QString::fromStdString(libraryFolder()) + "/..";
    const QString folder = m_folder.path() + "/incomplete";
    QVERIFY(QDir().mkpath(folder + "/bin") && QDir().mkpath(folder + "/lib"));
    for (const QString name : {"/bin/zefhost", "/lib/libzelectronframework.so",
                               "/lib/libvemolog.so", "/lib/libzaccountkeeper.so"}) {
        QVERIFY(QFile::copy(built + name, folder + name));
    }
    const QString account = folder + "/lib/libzaccountlite.so";
    QVERIFY(QFile::copy(built + "/standins/no-get/libzaccountlite.so", account));
    const std::string host = (folder + "/bin/zefhost").toStdString();
    const ChildResult lacking = runChild({host, "--json", "libraries"});
    VERIFY_EXIT(lacking, 2);
    const QRegularExpression object(
        R"("file":".*/lib/libzaccountlite.so","function":"GetInterface","need":"required",)"
        R"("state":"missing"\})");
    VERIFY_CONTAINS(lacking.output, object);
}

void tst_Zefhost::foreignTextIsPrintedHarmlessly()
{
    const QByteArray script = R"({"async":"\u001b[2J\u009b\u202e\r\u0007x.y","expect":"fail"})";
    for (const QStringList &options : {QStringList{"--show-log"}, {"--show-log", "--json"}}) {
        const ChildResult result = run(options + QStringList{"run", write("script", script)});
        VERIFY_EXIT(result, 0);
        VERIFY_CONTAINS(result.output, "x not found");
        for (const QChar character : QString::fromStdString(result.output)) {
            QVERIFY(character == '\n' || character.isPrint());
        }
    }
}

void tst_Zefhost::promptTakesCommandsFromInput()
{
    const QString input = write("input", "  async   utils.getLogPath  {} \nfly\ncall utils [\n"
                                         "listen\nmethods\nlog\nquit\nasync utils\n");
    QVERIFY(std::freopen(QFile::encodeName(input).constData(), "r", stdin));
    const ChildResult result = run({"repl"});
    VERIFY_EXIT(result, 0);
    VERIFY_CONTAINS(result.output, "ok    utils.getLogPath");
    VERIFY_CONTAINS(result.output, "account.switchAccount");
    VERIFY_CONTAINS(result.output, "asynCall method:utils.getLogPath, params:{}");
    VERIFY_CONTAINS(result.errors, "unknown command fly");
    VERIFY_CONTAINS(result.errors, "call: parse error");
    VERIFY_CONTAINS(result.errors, "listen: a name is missing");
}

void tst_Zefhost::recordingsAreCompared_data()
{
    const auto row = columns<QByteArray, QByteArray, QString>("before", "after", "finding");

    row("as recorded", "", "", "");
    row("another value", R"("msg":"sign-in refused")", R"("msg":"signed in")",
        R"(line 22                           replay, NOT EXPECTED: reply of account.loginWithSsid: )"
        R"(msg was "signed in", now "sign-in refused")");
    row("a key less", R"("nickname":"Ada","userId")", R"("userId")",
        R"(data.nickname was nothing, now "Ada")");
    row("a key more", R"("data":{"currentUserId")", R"("data":{"new":1,"currentUserId")",
        "data.new was 1, now nothing");
    row("inside a text", R"(\"status\":\"normal\")", R"(\"status\":\"odd\")",
        R"(data.accountListInfo[0].status was "odd", now "normal")");
    row("another secret",
        R"("got":{"task":"meetingDataChangeTask","message":{"data":{"accessCode":")",
        R"("got":{"task":"meetingDataChangeTask","message":{"data":{"accessCode":"{{ssid:1}})",
        "data.accessCode was");
    row("an event that does not come", R"({"event":"account.currentAccountChanged"})",
        R"({"event":"account.companyInfoChanged"})",
        "event account.companyInfoChanged did not come");
    row("an event too many", R"({"got":{"event":"account.cookieUpdated"})", R"({"gap":1)",
        "event account.cookieUpdated came, which is not in the recording");
    row("what may differ", R"("msg":"sign-in refused")", R"("msg":"x")", "");
}

void tst_Zefhost::recordingsAreCompared()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, finding);

    QFile file(QStringLiteral(ZEF_SOURCE_DIR "/examples/recording.jsonl"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray recording = file.readAll();
    QVERIFY(recording.contains(before));
    if (!before.isEmpty()) {
        recording.replace(recording.indexOf(before), before.size(), after);
    }
    if (after == R"("msg":"x")") {
        recording.replace("\"mayDiffer\":[",
                          R"("mayDiffer":[{"method":"account.loginWithSsid","path":"msg"},)");
    }
    const ChildResult result = run({"--timeout", "1", "run", write("recording.jsonl", recording)});
    VERIFY_EXIT(result, finding.isEmpty() ? 0 : 1);
    VERIFY_CONTAINS(result.output, finding);
}

void tst_Zefhost::recordingsAreJudgedAsByTheInspector_data()
{
    QTest::addColumn<QByteArray>("recording");
    QTest::addColumn<QString>("verdict");

    QFile file(QStringLiteral(ZEF_SOURCE_DIR "/tests/host/replays.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString table = QString::fromUtf8(file.readAll())
                              .replace("CR\n", "\r\n")
                              .replace("LONG", QString(300000, 'a'));
    QStringList rows = table.split("\n== ");
    const QString header = rows.takeFirst().trimmed().section('\n', -1);
    for (const QString &row : rows) {
        const QString title = row.section('\n', 0, 0);
        QString lines = row.section('\n', 1);
        QString own = header;
        if (lines.startsWith("mayDiffer ")) {
            own.chop(1);
            own += R"(,"mayDiffer":)" + lines.section('\n', 0, 0).mid(10) + '}';
            lines = lines.section('\n', 1);
        }
        QTest::newRow(qPrintable(title.section(": ", 0, -2)))
            << (own + '\n' + lines).toUtf8() << title.section(": ", -1);
    }
}

void tst_Zefhost::recordingsAreJudgedAsByTheInspector()
{
    QFETCH(QByteArray, recording);
    QFETCH(QString, verdict);

    const QString file = write("recording.jsonl", recording);
    const ChildResult result = run({"--timeout", "1", "run", file});
    const QStringList words = verdict.split(' ');
    VERIFY_EXIT(result, QStringList({"green", "red", "refused"}).indexOf(words[0]));
    if (words[0] == "red") {
        VERIFY_CONTAINS(result.output, "line " + words[1] + ' ');
    } else if (words[0] == "refused") {
        VERIFY_CONTAINS(result.errors, file + ':' + words[1] + ": ");
    }
}

void tst_Zefhost::examplesRun()
{
    const ChildResult demo = run({"--settings", settings(), "--show-log", "run",
                                  QStringLiteral(ZEF_SOURCE_DIR "/examples/demo.jsonl")});
    VERIFY_EXIT(demo, 0);
    VERIFY_CONTAINS(demo.output, "log   Info");

    const ChildResult minimal = runChild({siblingProgram("zef_minimal_host")});
    VERIFY_EXIT(minimal, 0);
    VERIFY_CONTAINS(minimal.output, "\"result\":\"ok\"");
}

QTEST_APPLESS_MAIN(tst_Zefhost)

#include "tst_zefhost.moc"
