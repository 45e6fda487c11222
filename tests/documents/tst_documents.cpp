#include "account/zaccounthandler.h"
#include "account/zaccountsdkproxy.h"
#include "log/zutilshandler.h"
#include "meeting/zmeetinghandler.h"
#include "services/zaccessbasehandler.h"
#include "services/znetworkhandler.h"
#include "support/childprocess.h"
#include "support/hostfixture.h"

#include <QFile>
#include <QFileInfo>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QString document(const QString &name)
{
    QFile file(QStringLiteral(ZEF_SOURCE_DIR "/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The first captures of all matches, sorted.
QStringList captures(const QString &text, const char *pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto match = expression.globalMatch(text); match.hasNext();) {
        found.append(match.next().captured(1));
    }
    found.sort();
    return found;
}

QStringList methodsOf(const QMetaObject &object, const QString &module,
                      QMetaMethod::MethodType type)
{
    QStringList names;
    for (int index = object.methodOffset(); index < object.methodCount(); ++index) {
        if (object.method(index).methodType() == type) {
            names.append(module + '.' + QString::fromLatin1(object.method(index).name()));
        }
    }
    return names;
}

QStringList moduleMethods()
{
    QStringList names =
        methodsOf(ZAccountHandler::staticMetaObject, "account", QMetaMethod::Slot) +
        methodsOf(ZAccessbaseHandler::staticMetaObject, "accessbase", QMetaMethod::Slot) +
        methodsOf(ZMeetingHandler::staticMetaObject, "meeting", QMetaMethod::Slot) +
        methodsOf(ZNetworkHandler::staticMetaObject, "network", QMetaMethod::Slot) +
        methodsOf(ZUtilsHandler::staticMetaObject, "utils", QMetaMethod::Slot);
    names.sort();
    return names;
}

/// What the "Thread" line says of a method; empty when there is no such method.
QString documentedThread(const QString &method)
{
    const QStringList found = captures(document("docs/MODULES.md"),
                                       qPrintable("^### " + QRegularExpression::escape(method) +
                                                  "\\n(?:(?!^#).*\\n)*?- Thread: (.*)$"));
    return found.value(0);
}

/// "…" stands for a text that differs each time, "[…]" for such an array.
QRegularExpression patternOf(const QString &reply)
{
    QString pattern = QRegularExpression::escape(reply);
    const QString any = QRegularExpression::escape("…");
    pattern.replace(QRegularExpression::escape("[…]"), R"(\[.*\])");
    pattern.replace(any, R"([^"\\]+)");
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

} // namespace

class tst_Documents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void methodsAreThoseOfTheHandlers();
    void eventsAreThoseOfTheBinding();
    void callRefusesAsDocumented();
    void examplesAnswerAsDocumented_data();
    void examplesAnswerAsDocumented();
    void minimalHostIsShownAndRuns();
    void linksLeadToFiles();

private:
    bool startAsDocumented();
    Recorder::Delivery answerTo(const QString &operation, const QString &path,
                                const QByteArray &params, Recorder &recorder);

    HostFixture m_host;
    QTemporaryDir m_state;
};

void tst_Documents::initTestCase()
{
    qputenv("XDG_STATE_HOME", m_state.path().toUtf8()); // the log files go there
}

void tst_Documents::cleanup()
{
    m_host.framework.uninit();
}

bool tst_Documents::startAsDocumented()
{
    const QString settings =
        captures(document("docs/MODULES.md"), "^```json\\n\\{\"standin\":((?:.*\\n)*?)\\}\\n```$")
            .value(0);
    return !settings.isEmpty() && m_host.start(settings.toStdString());
}

void tst_Documents::methodsAreThoseOfTheHandlers()
{
    const QStringList methods = moduleMethods();
    QCOMPARE(methods.size(), 24);
    QCOMPARE(captures(document("docs/MODULES.md"), "^### (\\w+\\.\\w+)$"), methods);
    QCOMPARE(captures(document("README.md"), "^\\| `(\\w+\\.\\w+)` \\| .* \\| (?:yes|no) \\|$"),
             methods);
}

void tst_Documents::eventsAreThoseOfTheBinding()
{
    QStringList events =
        methodsOf(ZAccountSdkProxy::staticMetaObject, "account", QMetaMethod::Signal);
    events.sort();
    QCOMPARE(captures(document("docs/MODULES.md"), "^\\| `(account\\.\\w+)` \\|"), events);

    const QString readme = document("README.md");
    QVERIFY(startAsDocumented());
    for (const QString &event : events) {
        QVERIFY2(readme.contains('`' + event + '`'), qPrintable(event));
        QVERIFY(m_host.framework.addListener(qPrintable(event), nullptr) != 0);
    }
}

void tst_Documents::callRefusesAsDocumented()
{
    const QString readme = document("README.md");
    QVERIFY(startAsDocumented());
    for (const QString &method : moduleMethods()) {
        const bool isRefused = m_host.call(qPrintable(method))
                                   .endsWith(R"( not support thread safe","result":"fail"})");
        const QString thread = documentedThread(method);
        QVERIFY2(thread.startsWith(isRefused ? "host thread; " : "any; "), qPrintable(method));
        const QString row = "\\| `" + method + "` \\| .* \\| (yes|no) \\|";
        QCOMPARE(captures(readme, qPrintable(row)).value(0), QString(isRefused ? "no" : "yes"));
    }
}

void tst_Documents::examplesAnswerAsDocumented_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("params");
    QTest::addColumn<QString>("reply");

    const QRegularExpression example(
        "```text\\n(\\w+) (?:([\\w.]+) )?(\\{.*\\})\\n(\\{.*\\})\\n```");
    const QString modules = document("docs/MODULES.md");
    QStringList paths;
    for (auto match = example.globalMatch(modules); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        QTest::newRow(qPrintable(found.captured(1) + ' ' + found.captured(2) + found.captured(3)))
            << found.captured(1) << found.captured(2) << found.captured(3).toUtf8()
            << found.captured(4);
        paths.append(found.captured(2));
    }
    for (const QString &method : moduleMethods()) {
        QVERIFY2(paths.contains(method), qPrintable(method));
    }
    QCOMPARE(captures(modules, "^(```text)$").size(), paths.size());
}

Recorder::Delivery tst_Documents::answerTo(const QString &operation, const QString &path,
                                           const QByteArray &params, Recorder &recorder)
{
    using zefstandin::MessageContext;
    using zefstandin::Thread;
    zefstandin::AccountControl &account = m_host.library.account();
    const QByteArray utf8 = path.toUtf8();
    if (operation == "call") {
        m_host.framework.call(utf8.constData(), params.constData(), &recorder);
    } else if (operation == "asynCall") {
        m_host.framework.asynCall(utf8.constData(), params.constData(), &recorder);
    } else if (!m_host.framework.registerCallbackFunc(qPrintable(operation), &recorder)) {
        return {};
    } else if (operation == "meetingDataChangeTask") {
        account.sendMessage(params.toStdString(), Thread::library, MessageContext::alive);
    } else {
        account.collect(params.toStdString(), Thread::library);
    }
    return recorder.take();
}

void tst_Documents::examplesAnswerAsDocumented()
{
    QFETCH(QString, operation);
    QFETCH(QString, path);
    QFETCH(QByteArray, params);
    QFETCH(QString, reply);
    QVERIFY(QJsonDocument::fromJson(params).isObject());
    QVERIFY(QJsonDocument::fromJson(reply.toUtf8()).isObject() || reply.contains("[…]"));
    QVERIFY(startAsDocumented());

    Recorder host;
    m_host.framework.asynCall("utils.getLogPath", "{}", &host);
    const std::thread::id hostThread = host.take().thread;
    Recorder recorder;
    const Recorder::Delivery answer = answerTo(operation, path, params, recorder);
    QVERIFY2(patternOf(reply).match(QString::fromUtf8(answer.text)).hasMatch(),
             answer.text.constData());
    QVERIFY(QJsonDocument::fromJson(answer.text).isObject());
    if (operation == "call") {
        QCOMPARE(answer.thread, std::this_thread::get_id());
    } else {
        const bool isLater =
            path.isEmpty() || documentedThread(path).endsWith("later, on a library thread");
        QCOMPARE(answer.thread != hostThread, isLater);
    }
    m_host.framework.uninit(); // the recorders go before cleanup()
}

void tst_Documents::minimalHostIsShownAndRuns()
{
    const QString shown = "```cpp\n" + document("examples/minimal/main.cpp") + "```\n";
    QVERIFY(document("README.md").contains(shown));

    const ChildResult minimal = runChild({siblingProgram("zef_minimal_host")});
    QVERIFY2(minimal.exitCode == 0, minimal.errors.c_str());
    QVERIFY(minimal.output.find(R"("result":"ok")") != std::string::npos);
}

void tst_Documents::linksLeadToFiles()
{
    QStringList names{"README.md", "CHANGELOG.md", "docs/MODULES.md", "docs/ARCHITECTURE.md",
                      "docs/SECURITY.md"};
    for (const QString &name : names) {
        const QString text = document(name);
        QVERIFY2(!text.isEmpty(), qPrintable(name));
        const QString folder = QFileInfo(QStringLiteral(ZEF_SOURCE_DIR "/") + name).path();
        for (const QString &link : captures(text, "\\]\\(([^)#:]+)\\)")) {
            QVERIFY2(QFileInfo::exists(folder + '/' + link), qPrintable(name + ": " + link));
        }
    }
}

QTEST_APPLESS_MAIN(tst_Documents)

#include "tst_documents.moc"
