#include "account/zaccounthandler.h"
#include "account/zaccountsdkproxy.h"
#include "log/utils/zutilshandler.h"
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

const QString kRoot = QStringLiteral(ZEF_SOURCE_DIR "/");

QString document(const QString &name)
{
    QFile file(kRoot + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

const QString kModules = document("docs/MODULES.md");
const QString kReadme = document("README.md");

/// The first captures of all matches, sorted.
QStringList captures(const QString &text, const QString &pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto match = expression.globalMatch(text); match.hasNext();) {
        found.append(match.next().captured(1));
    }
    found.sort();
    return found;
}

QStringList namesOf(const char *module, const QMetaObject &object, QMetaMethod::MethodType type)
{
    QStringList names;
    for (int index = object.methodOffset(); index < object.methodCount(); ++index) {
        if (object.method(index).methodType() == type) {
            names.append(QString("%1.%2").arg(module, QString(object.method(index).name())));
        }
    }
    names.sort();
    return names;
}

QStringList moduleMethods()
{
    return namesOf("accessbase", ZAccessbaseHandler::staticMetaObject, QMetaMethod::Slot) +
           namesOf("account", ZAccountHandler::staticMetaObject, QMetaMethod::Slot) +
           namesOf("meeting", ZMeetingHandler::staticMetaObject, QMetaMethod::Slot) +
           namesOf("network", ZNetworkHandler::staticMetaObject, QMetaMethod::Slot) +
           namesOf("utils", ZUtilsHandler::staticMetaObject, QMetaMethod::Slot);
}

/// What the "Thread" line of a method's section says.
QString documentedThread(const QString &method)
{
    return captures(kModules, "^### " + method + "\\n(?:(?!#).*\\n)*?- Thread: (.*)$").value(0);
}

/// "…" stands for a text that differs each time, "[…]" for such an array.
QRegularExpression patternOf(const QString &reply)
{
    QString pattern = QRegularExpression::escape(reply);
    pattern.replace(QRegularExpression::escape("[…]"), "\\[.*\\]");
    pattern.replace(QRegularExpression::escape("…"), "[^\"\\\\]+");
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

} // namespace

class tst_Documents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_STATE_HOME", m_state.path().toUtf8()); } // for the log
    void cleanup() { m_host.framework.uninit(); }

    void namesAreThoseOfTheCode();
    void callRefusesAsDocumented();
    void examplesAnswerAsDocumented_data();
    void examplesAnswerAsDocumented();
    void minimalHostIsShownAndRuns();
    void linksLeadToFiles();

private:
    bool startAsDocumented();
    bool perform(const QByteArray &operation, const QByteArray &path, const QByteArray &params,
                 Recorder &recorder);

    HostFixture m_host;
    QTemporaryDir m_state;
};

bool tst_Documents::startAsDocumented()
{
    const QStringList standin = captures(kModules, "^```json\\n\\{\"standin\":([^`]+)\\}\\n```$");
    return standin.size() == 1 && m_host.start(standin.front().toStdString());
}

void tst_Documents::namesAreThoseOfTheCode()
{
    QCOMPARE(moduleMethods().size(), 24);
    QCOMPARE(captures(kModules, "^### (\\w+\\.\\w+)$"), moduleMethods());
    QCOMPARE(captures(kReadme, "^\\| `(\\w+\\.\\w+)` \\|"), moduleMethods());

    const QStringList events =
        namesOf("account", ZAccountSdkProxy::staticMetaObject, QMetaMethod::Signal);
    QCOMPARE(captures(kModules, "^\\| `(account\\.\\w+)` \\|"), events);
    QCOMPARE(captures(kReadme, "`(account\\.\\w+)`[,.]"), events);
}

void tst_Documents::callRefusesAsDocumented()
{
    QVERIFY(startAsDocumented());
    for (const QString &method : moduleMethods()) {
        const bool isRefused = m_host.call(qPrintable(method)).contains("not support thread safe");
        const QString begin = isRefused ? "host thread; " : "any; ";
        QVERIFY2(documentedThread(method).startsWith(begin), qPrintable(method));
        const QStringList row = captures(kReadme, "\\| `" + method + "` \\| .* \\| (yes|no) \\|");
        QCOMPARE(row, QStringList(isRefused ? "no" : "yes"));
    }
}

void tst_Documents::examplesAnswerAsDocumented_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("params");
    QTest::addColumn<QString>("reply");

    const QRegularExpression example(
        "```text\\n(\\w+) (?:([\\w.]+) )?(\\{.*\\})\\n(\\{.*\\})\\n```");
    QStringList paths;
    for (auto match = example.globalMatch(kModules); match.hasNext();) {
        const QStringList found = match.next().capturedTexts();
        paths.append(found[2]);
        QTest::newRow(qPrintable(found[1] + ' ' + found[2] + found[3]))
            << found[1].toUtf8() << found[2].toUtf8() << found[3].toUtf8() << found[4];
    }
    for (const QString &method : moduleMethods()) {
        QVERIFY2(paths.contains(method), qPrintable(method));
    }
    QCOMPARE(paths.size(), kModules.count("```text"));
}

/// Runs one operation, or has the stand-in send what a task of that type delivers.
bool tst_Documents::perform(const QByteArray &operation, const QByteArray &path,
                            const QByteArray &params, Recorder &recorder)
{
    using namespace zefstandin;
    AccountControl &account = m_host.library.account();
    if (operation == "call") {
        return m_host.framework.call(path, params, &recorder);
    }
    if (operation == "asynCall") {
        return m_host.framework.asynCall(path, params, &recorder);
    }
    if (!m_host.framework.registerCallbackFunc(operation, &recorder)) {
        return false;
    }
    return operation == "accountInfoCollectTask"
               ? account.collect(params.toStdString(), Thread::library) == 1
               : account.sendMessage(params.toStdString(), Thread::library,
                                     MessageContext::alive) == 1;
}

void tst_Documents::examplesAnswerAsDocumented()
{
    QFETCH(QByteArray, operation);
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, params);
    QFETCH(QString, reply);
    QVERIFY(QJsonDocument::fromJson(params).isObject());

    Recorder host;
    Recorder recorder;
    QVERIFY(startAsDocumented());
    QVERIFY(perform("asynCall", "network.updateProxyInfo", "{}", host));
    QVERIFY(perform(operation, path, params, recorder));
    const std::thread::id hostThread = host.take().thread;
    const Recorder::Delivery answer = recorder.take();
    m_host.framework.uninit(); // while the recorders live

    QVERIFY(QJsonDocument::fromJson(answer.text).isObject());
    QVERIFY2(patternOf(reply).match(QString::fromUtf8(answer.text)).hasMatch(),
             answer.text.constData());
    const bool isLater = path.isEmpty() || documentedThread(path).contains("library thread");
    QCOMPARE(answer.thread == std::this_thread::get_id(), operation == "call");
    QCOMPARE(answer.thread == hostThread, operation != "call" && !isLater);
}

void tst_Documents::minimalHostIsShownAndRuns()
{
    const QString shown = "```cpp\n" + document("examples/minimal/main.cpp") + "```\n";
    QVERIFY(kReadme.contains(shown));
    const ChildResult minimal = runChild({siblingProgram("zef_minimal_host")});
    QVERIFY2(minimal.exitCode == 0, minimal.errors.c_str());
    QVERIFY(QJsonDocument::fromJson(QByteArray::fromStdString(minimal.output)).isObject());
}

void tst_Documents::linksLeadToFiles()
{
    for (const QString name :
         {"README.md", "docs/MODULES.md", "docs/ARCHITECTURE.md", "docs/SECURITY.md"}) {
        const QStringList links = captures(document(name), "\\]\\(([^)#:]+)[)#]");
        QVERIFY2(!links.isEmpty(), qPrintable(name));
        for (const QString &link : links) {
            const QFileInfo file(QFileInfo(kRoot + name).path() + '/' + link);
            QVERIFY2(file.exists(), qPrintable(file.filePath()));
        }
    }
}

QTEST_APPLESS_MAIN(tst_Documents)

#include "tst_documents.moc"
