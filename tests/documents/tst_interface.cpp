#include "support/childprocess.h"
#include "support/hostfixture.h"

#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QJsonObject object(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}

QJsonObject objectIn(const QString &name)
{
    QFile file(QStringLiteral(ZEF_SOURCE_DIR "/interface/") + name);
    return file.open(QIODevice::ReadOnly) ? object(file.readAll()) : QJsonObject();
}

QByteArray compact(const QJsonValue &value)
{
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

/// What documents, hosts and the npm package know of the interface.
const QJsonObject kModules = objectIn("modules.json");

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

QStringList sorted(QStringList texts)
{
    texts.removeDuplicates();
    texts.sort();
    return texts;
}

QJsonObject exampleParams(const QJsonValue &method)
{
    QJsonObject params;
    for (const QJsonValue given : method["examples"][0]["params"].toArray()) {
        params.insert(given["name"].toString(), given["value"]);
    }
    return params;
}

QByteArray exampleReply(const QJsonValue &method)
{
    QJsonObject reply{{"msg", "success"}, {"result", "ok"}};
    const QJsonValue data = method["examples"][0]["result"]["value"];
    if (!data.isNull()) {
        reply.insert("data", data);
    }
    return compact(reply);
}

/// "…" stands for a text that differs each time, "[…]" for such an array.
QRegularExpression patternOf(const QString &reply)
{
    QString pattern = QRegularExpression::escape(reply);
    pattern.replace(QRegularExpression::escape("[…]"), "\\[.*\\]");
    pattern.replace(QRegularExpression::escape("…"), "[^\"\\\\]+");
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

/// Operations whose replies are those of methods.
QSet<QString> repliesOfTheLibrary()
{
    QSet<QString> operations;
    for (const QJsonValue method : methods()) {
        if (method["x-writtenByAccountLibrary"].toBool()) {
            operations.insert(method["x-operations"].toArray().last().toString());
        }
    }
    return operations;
}

void methodRows()
{
    QTest::addColumn<QJsonValue>("method");
    for (const QJsonValue method : methods()) {
        QTest::newRow(qPrintable(method["name"].toString())) << method;
    }
}

} // namespace

/// Compares interface/modules.json with the code and with the running library.
class tst_Interface : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_STATE_HOME", m_state.path().toUtf8()); } // for the log
    void cleanup() { m_host.framework.uninit(); }

    void namesAreThoseOfTheCode();
    void examplesAnswerAsDescribed_data();
    void examplesAnswerAsDescribed();
    void parametersAreAsDescribed_data() { methodRows(); }
    void parametersAreAsDescribed();
    void failuresAreThoseDescribed_data() { methodRows(); }
    void failuresAreThoseDescribed();
    void routingFailuresAreThoseDescribed();
    void settingsAreAsDescribed();

private:
    bool start() { return m_host.start(compact(kModules.value("x-exampleStandin")).toStdString()); }
    bool perform(const QByteArray &operation, const QByteArray &path, const QByteArray &params,
                 Recorder &recorder);
    QByteArray effectOf(const QByteArray &path, const QJsonObject &params);
    void causeFailures(const QByteArray &path, const QByteArray &params, QStringList &failures);

    HostFixture m_host;
    QTemporaryDir m_state;
};

void tst_Interface::namesAreThoseOfTheCode()
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

void tst_Interface::examplesAnswerAsDescribed_data()
{
    QTest::addColumn<QByteArray>("operation"); // or the task type
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("params"); // or what the stand-in is told
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("thread");

    for (const QJsonValue method : methods()) {
        const QByteArray path = method["name"].toString().toUtf8();
        QTest::newRow(path) << QByteArray(method["x-threadSafe"].toBool() ? "call" : "asynCall")
                            << path << compact(exampleParams(method)) << exampleReply(method)
                            << method["x-answer"].toString();
    }
    for (const QJsonValue task : kModules.value("x-tasks").toArray()) {
        const QByteArray type = task["name"].toString().toUtf8();
        for (const QJsonValue example : task["examples"].toArray()) {
            const QByteArray told = compact(example["mock"]);
            QTest::newRow(type + told)
                << type << QByteArray() << told << compact(example["message"]) << "library thread";
        }
    }
}

/// Runs one operation, or has the stand-in do what brings a message of that task type.
bool tst_Interface::perform(const QByteArray &operation, const QByteArray &path,
                            const QByteArray &params, Recorder &recorder)
{
    if (operation == "call") {
        return m_host.framework.call(path, params, &recorder);
    }
    if (operation == "asynCall") {
        return m_host.framework.asynCall(path, params, &recorder);
    }
    return m_host.framework.registerCallbackFunc(operation, &recorder) &&
           m_host.library.command(params.toStdString());
}

void tst_Interface::examplesAnswerAsDescribed()
{
    QFETCH(QByteArray, operation);
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, params);
    QFETCH(QByteArray, reply);
    QFETCH(QString, thread);

    Recorder host;
    Recorder recorder;
    QVERIFY(start());
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

/// What the account library, the log and the caller get of one call.
QByteArray tst_Interface::effectOf(const QByteArray &path, const QJsonObject &params)
{
    m_host.library.account().clearRecords();
    m_host.library.log().reset();
    QByteArray effect = m_host.asynCall(path, compact(params));
    for (const zefstandin::Call &call : m_host.library.account().calls()) {
        effect += '\n' + QByteArray::fromStdString(call.name + ' ' + call.argument);
    }
    for (const std::string &line : m_host.library.logLines()) {
        if (line.find("asynCall") == std::string::npos) { // which shows the parameters
            effect += '\n' + QByteArray::fromStdString(line);
        }
    }
    return effect;
}

void tst_Interface::parametersAreAsDescribed()
{
    QFETCH(QJsonValue, method);

    QVERIFY(start());
    // Without the code of a grant, which differs each time.
    m_host.script("grantAuthorizeCodeOffice", R"({"reply":{"taskResult":{"bResult":true}}})");
    const QByteArray path = method["name"].toString().toUtf8();
    const QJsonObject params = exampleParams(method);
    QJsonObject defaults;
    for (const QJsonValue parameter : method["params"].toArray()) {
        const QString name = parameter["name"].toString();
        const QJsonObject schema = parameter["schema"].toObject();
        if (schema.contains("default")) {
            defaults.insert(name, schema.value("default"));
        }
        QJsonObject others = params;
        others.remove(name);
        QVERIFY(!parameter["required"].toBool() ||
                m_host.asynCall(path, compact(others)).contains(R"("result":"fail")"));
    }
    if (!defaults.isEmpty()) {
        QCOMPARE(effectOf(path, defaults), effectOf(path, {}));
    }

    QJsonObject more = params;
    more.insert("undescribed", "1");
    const bool isTaken =
        method["x-passedOn"].toBool() || !method["x-additionalParams"].isUndefined();
    QCOMPARE(effectOf(path, more).contains("undescribed"), isTaken);
}

/// Calls the method while one operation or service after the other fails.
void tst_Interface::causeFailures(const QByteArray &path, const QByteArray &params,
                                  QStringList &failures)
{
    static const QSet<QString> foreign = repliesOfTheLibrary();
    for (const QString &operation : foreign) {
        m_host.script(qPrintable(operation), R"({"reply":{"result":"ok"}})");
    }
    static const QJsonValue operations = objectIn("mock.json").value("MockOperation")["enum"];
    for (const QJsonValue operation : operations.toArray()) {
        for (const char *script :
             {R"({"refuse":true})", R"({"statuses":[101]})", R"({"reply":{}})"}) {
            if (foreign.contains(operation.toString())) {
                continue; // its failures are the account library's
            }
            m_host.script(qPrintable(operation.toString()), script);
            const QJsonObject reply = object(m_host.asynCall(path, params));
            if (reply.value("result") == QJsonValue("fail")) {
                failures.append(reply.value("msg").toString());
            }
            m_host.script(qPrintable(operation.toString()), "{}");
        }
    }
}

void tst_Interface::failuresAreThoseDescribed()
{
    QFETCH(QJsonValue, method);

    QStringList described;
    for (const QJsonValue text : members(method["errors"], "message")) {
        described.append(text.toString());
    }
    described.removeAll("log proxy is nullptr"); // not while calls are taken

    QStringList failures;
    const QByteArray path = method["name"].toString().toUtf8();
    const QByteArray params = compact(exampleParams(method));
    QVERIFY(start());
    causeFailures(path, params, failures);
    causeFailures(path, "{}", failures);
    m_host.library.log().setSavePathNull(true);
    QVERIFY(m_host.library.command(R"({"office":{"userId":"10001"}})")); // who is known here
    causeFailures(path, params, failures);
    QCOMPARE(sorted(failures), sorted(described));
}

void tst_Interface::routingFailuresAreThoseDescribed()
{
    QStringList failures;
    const auto note = [&failures](const QByteArray &reply, const char *name) {
        failures.append(object(reply)["msg"].toString().replace(name, "%1"));
    };
    QVERIFY(start());
    for (const char *path : {"utils", "nowhere.method", "utils.nothing"}) {
        const char *name = path == QByteArray("nowhere.method") ? "nowhere" : "nothing";
        note(m_host.call(path), name);
        note(m_host.asynCall(path), name);
        Recorder outer;
        Recorder inner;
        outer.runInside([&] { m_host.framework.call(path, "{}", &inner); }); // on the host thread
        QVERIFY(m_host.framework.asynCall("network.updateProxyInfo", "{}", &outer));
        outer.take();
        note(inner.text(), name);
    }
    QCOMPARE(sorted(failures), kModules["x-routingErrors"].toObject().keys());
}

void tst_Interface::settingsAreAsDescribed()
{
    m_host.library.account().reset();
    const auto startWith = [this](const QJsonObject &app) {
        m_host.framework.uninit();
        return m_host.framework.init(compact(QJsonObject{{"app", app}}));
    };
    const auto effect = [this] { return effectOf("account.getOfficeUserInfo", {}); };
    const QJsonValue described = kModules.value("x-settings")["properties"]["app"];
    QJsonObject app;
    for (const QJsonValue name : described["required"].toArray()) {
        QVERIFY2(!startWith(app), qPrintable(name.toString()));
        app.insert(name.toString(), "zefTest");
    }
    QVERIFY(startWith(app));
    const QByteArray without = effect();
    app.insert("international", described["properties"]["international"]["default"]);
    QVERIFY(startWith(app));
    QCOMPARE(effect(), without);
}

QTEST_APPLESS_MAIN(tst_Interface)

#include "tst_interface.moc"
