#include "support/childprocess.h"
#include "support/hostfixture.h"

#include <QtTest>

#include <algorithm>
#include <set>

#include <dlfcn.h>

using zefstandin::Thread;

/// What only the mock itself can be asked about: that a day with it is consistent from end to end, and
/// that its misbehaviour repeats. Every boundary test exercises the rest.
class tst_AccountStandin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_host.framework.uninit(); }

    void honestDay();
    void signaturesAreAcceptedElsewhere();
    void badScriptsAreRefused();
    void vocabularyIsDescribed();
    void hostileDayRepeats();

private:
    QStringList cookies(const char *url);
    QByteArrayList hostileReplies(unsigned seed);

    HostFixture m_host;
};

QStringList tst_AccountStandin::cookies(const char *url)
{
    QStringList names;
    const QByteArray params = R"({"url":")" + QByteArray(url) + "\"}";
    const QByteArray reply = m_host.call("account.queryWebviewCookies", params);
    for (const QJsonValue text : dataOf(reply, "cookieList").toArray()) {
        names.append(QJsonDocument::fromJson(text.toString().toUtf8()).object()["name"].toString());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void tst_AccountStandin::honestDay()
{
    Recorder changes;
    QVERIFY(m_host.start(R"({"initFinishedAfterMs":-1,"users":[{"userid":"eve","nickname":"Eve"}],)"
                         R"("accounts":[{"userid":"ann","is_login":true}],"currentUserId":"ann",)"
                         R"("cookies":[{"url":"https://www.example.com/","setCookie":)"
                         R"("all=1; Domain=example.com; Secure"}],"office":{"userId":"eve"}})"));
    m_host.framework.addListener("account.currentAccountChanged", &changes);

    // The office suite grants once, and the sign-in changes what everything else answers.
    QVERIFY(m_host.asynCall("account.quickLogin").contains(R"("nickname":"Eve")"));
    QCOMPARE(changes.text(), QByteArray("{}"));
    QVERIFY(m_host.call("account.getAccountListInfo").contains(R"(\"userid\":\"eve\")"));
    QCOMPARE(cookies("https://account.example.com/"), (QStringList{"all", "sid"}));
    QCOMPARE(cookies("http://www.example.com/"), QStringList());
    QCOMPARE(m_host.asynCall("account.logout", R"({"userId":"ann","removeAccount":true})"),
             QByteArray(R"({"data":{"currentUserId":"eve","userId":"ann"},"msg":"success",)"
                        R"("result":"ok"})"));
    QCOMPARE(m_host.asynCall("account.switchAccount", R"({"userId":"ann"})"),
             failure("account not found"));
    QCOMPARE(m_host.asynCall("account.loginWithSsid", R"({"ssid":"ssid-nobody"})"),
             failure("sign-in refused"));

    // What is still owed is cancelled, what is held outlives the library, and nothing keeps it.
    Recorder owed;
    Recorder held;
    m_host.script("logout", R"({"delayMs":600000})");
    m_host.script("switchAccount", R"({"hold":true})");
    QVERIFY(m_host.framework.asynCall("account.logout", "{}", &owed));
    QVERIFY(m_host.framework.asynCall("account.switchAccount", R"({"userId":"x"})", &held));
    QVERIFY(m_host.framework.uninit());
    QCOMPARE(owed.text(0), failure("cancelled"));
    QVERIFY(!dlopen("libzaccountlite.so", RTLD_LAZY | RTLD_NOLOAD));
    QCOMPARE(m_host.library.account().held().size(), std::size_t(1));
    QCOMPARE(m_host.library.account().releaseAll(Thread::caller), 1);
    QCOMPARE(held.count(), std::size_t(0));
    QVERIFY(m_host.library.account().state().find(R"("running":false)") != std::string::npos);
}

void tst_AccountStandin::signaturesAreAcceptedElsewhere()
{
    QVERIFY(m_host.start());
    const QByteArray jwk =
        dataOf(m_host.call("account.getJwkPublicKeyStr"), "data").toString().toUtf8();
    const auto sign = [this](const QByteArray &text) {
        const QByteArray params = R"({"signData":")" + text + R"("})";
        return dataOf(m_host.call("account.signLoginData", params), "data").toString().toUtf8();
    };
    const QByteArray token = sign("user=ann");
    QCOMPARE(sign("user=ann"), token); // signatures are deterministic, so ...
    std::array<QByteArray, 8> together;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < together.size(); ++i) {
        threads.emplace_back([&, i] { together[i] = sign("user=" + QByteArray::number(int(i))); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < together.size(); ++i) {
        QCOMPARE(together[i], sign("user=" + QByteArray::number(int(i)))); // ... threads do not mix
    }
    const QJsonObject pair = dataOf(m_host.call("account.generatePKCEParam"), "data").toObject();
    const auto verify = [](const char *script, const QByteArrayList &arguments) {
        // Base64url may begin with a hyphen, and is then no option.
        std::vector<std::string> command{"node", "-e", script, "--"};
        for (const QByteArray &argument : arguments) {
            command.push_back(argument.toStdString());
        }
        return runTool(command);
    };
    const char *const jws = R"(const [jwk, token] = process.argv.slice(1);
        const [header, payload, signature] = token.split('.');
        const key = require('crypto').createPublicKey({ key: JSON.parse(jwk), format: 'jwk' });
        process.exit(require('crypto').verify('sha256', `${header}.${payload}`,
            { key, dsaEncoding: 'ieee-p1363' }, Buffer.from(signature, 'base64url')) ? 0 : 1);)";
    const char *const pkce = R"(const [verifier, challenge] = process.argv.slice(1);
        const hash = require('crypto').createHash('sha256').update(verifier).digest('base64url');
        process.exit(hash === challenge ? 0 : 1);)";
    QCOMPARE(verify(jws, {jwk, token}).exitCode, 0);
    QCOMPARE(verify(jws, {jwk, token + "AA"}).exitCode, 1);
    QCOMPARE(verify(pkce, {pair["code_verifier"].toString().toUtf8(),
                           pair["code_challenge"].toString().toUtf8()})
                 .exitCode,
             0);
}

void tst_AccountStandin::badScriptsAreRefused()
{
    QVERIFY(!m_host.script("init", R"({"unknown key":true})"));
    QVERIFY(!m_host.script("init", R"({"throw":5})"));
    QVERIFY(!m_host.script("unknown operation", "{}"));
    QVERIFY(!m_host.script("init", "no JSON"));
}

void tst_AccountStandin::vocabularyIsDescribed()
{
    QFile file(ZEF_SOURCE_DIR "/interface/mock.json");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject described = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonObject known =
        QJsonDocument::fromJson(QByteArray::fromStdString(m_host.library.account().vocabulary()))
            .object();
    const auto keys = [&](std::initializer_list<const char *> types) {
        QStringList all;
        for (const char *type : types) {
            all += described[QLatin1String(type)].toObject()["properties"].toObject().keys();
        }
        return all;
    };
    const auto compare = [&](const char *list, QStringList words) {
        QStringList own = known[QLatin1String(list)].toVariant().toStringList();
        own.sort();
        words.sort();
        QCOMPARE(own, words);
    };
    compare("operations", described["MockOperation"].toObject()["enum"].toVariant().toStringList());
    compare("script", keys({"MockScript"}));
    compare("settings", keys({"MockKnowledge", "MockSettings"}));
    compare("command", keys({"MockKnowledge", "MockCommand"}));
}

QByteArrayList tst_AccountStandin::hostileReplies(unsigned seed)
{
    if (!m_host.start()) {
        return {};
    }
    m_host.library.account().setHostile(seed);
    QByteArrayList replies;
    for (int i = 0; i < 100; ++i) {
        replies.append(m_host.call("accessbase.getDeviceInfo"));
        replies.append(m_host.call("account.signLoginData", R"({"signData":"x"})").left(30));
    }
    m_host.framework.uninit();
    return replies;
}

void tst_AccountStandin::hostileDayRepeats()
{
    const QByteArrayList first = hostileReplies(7);
    QVERIFY(first.contains(failure("accessbaseService is nullptr")));
    QVERIFY(std::set<QByteArray>(first.begin(), first.end()).size() > 3);
    QCOMPARE(hostileReplies(7), first);
    QVERIFY(hostileReplies(8) != first);
}

QTEST_APPLESS_MAIN(tst_AccountStandin)
#include "tst_accountstandin.moc"
