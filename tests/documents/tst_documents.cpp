#include "support/childprocess.h"
#include "support/hostfixture.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
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

QJsonObject object(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}

QByteArray compact(const QJsonValue &value)
{
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

/// What documents, hosts and the npm package know of the interface.
const QJsonObject kModules = object(document("interface/modules.json").toUtf8());

QJsonArray methods()
{
    return kModules.value("methods").toArray();
}

/// One member of each object.
QJsonArray members(const QJsonValue &list, const char *name)
{
    QJsonArray found;
    for (const QJsonValue value : list.toArray()) {
        found.append(value[QLatin1String(name)]);
    }
    return found;
}

/// The first captures of all matches.
QStringList captures(const QString &text, const QString &pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto match = expression.globalMatch(text); match.hasNext();) {
        found.append(match.next().captured(1));
    }
    return found;
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

    void modulesAreThoseOfTheCode();
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
    return m_host.start(compact(kModules.value("x-exampleStandin")).toStdString());
}

void tst_Documents::modulesAreThoseOfTheCode()
{
    const ChildResult described = runChild({siblingProgram("zef_interface")});
    QVERIFY2(described.exitCode == 0, described.errors.c_str());
    const QJsonObject facts = object(QByteArray::fromStdString(described.output));
    QVERIFY(!facts.value("methods").toArray().isEmpty());
    QCOMPARE(members(methods(), "name"), members(facts.value("methods"), "name"));
    QCOMPARE(members(methods(), "x-threadSafe"), members(facts.value("methods"), "threadSafe"));
    QCOMPARE(members(kModules.value("x-events"), "name"), facts.value("events").toArray());
    QCOMPARE(members(kModules.value("x-tasks"), "name"), facts.value("tasks").toArray());
}

void tst_Documents::callRefusesAsDocumented()
{
    QVERIFY(startAsDocumented());
    for (const QJsonValue method : methods()) {
        const QByteArray reply = m_host.call(qPrintable(method["name"].toString()));
        QCOMPARE(!reply.contains("not support thread safe"), method["x-threadSafe"].toBool());
    }
}

void tst_Documents::examplesAnswerAsDocumented_data()
{
    QTest::addColumn<QByteArray>("operation"); // or the task type
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("params");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("thread");

    for (const QJsonValue method : methods()) {
        const QByteArray path = method["name"].toString().toUtf8();
        const QJsonValue example = method["examples"][0];
        QJsonObject params;
        for (const QJsonValue given : example["params"].toArray()) {
            params.insert(given["name"].toString(), given["value"]);
        }
        QTest::newRow(path) << QByteArray(method["x-threadSafe"].toBool() ? "call" : "asynCall")
                            << path << compact(params) << compact(example["result"]["value"])
                            << method["x-answer"].toString();
    }
    for (const QJsonValue task : kModules.value("x-tasks").toArray()) {
        const QByteArray type = task["name"].toString().toUtf8();
        for (const QJsonValue example : task["examples"].toArray()) {
            const QByteArray send = compact(example["send"]);
            QTest::newRow(type + send)
                << type << QByteArray() << send << compact(example["message"]) << "library thread";
        }
    }
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
    QFETCH(QByteArray, reply);
    QFETCH(QString, thread);

    Recorder host;
    Recorder recorder;
    QVERIFY(startAsDocumented());
    QVERIFY(perform("asynCall", "network.updateProxyInfo", "{}", host));
    QVERIFY(perform(operation, path, params, recorder));
    const std::thread::id hostThread = host.take().thread;
    const Recorder::Delivery answer = recorder.take();
    m_host.framework.uninit(); // while the recorders live

    QVERIFY2(patternOf(QString::fromUtf8(reply)).match(QString::fromUtf8(answer.text)).hasMatch(),
             answer.text.constData());
    QCOMPARE(answer.thread == std::this_thread::get_id(), thread == "before it returns");
    QCOMPARE(answer.thread == hostThread, thread == "host thread");
}

void tst_Documents::minimalHostIsShownAndRuns()
{
    const QString shown = "```cpp\n" + document("examples/minimal/main.cpp") + "```\n";
    QVERIFY(document("README.md").contains(shown));
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
