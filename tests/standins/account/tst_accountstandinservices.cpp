#include "loadedstandin.h"

#include <QTest>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <set>
#include <thread>

using zefstandin::MessageContext;
using zefstandin::Thread;

namespace {

/// What verify.js prints; null when it refuses.
QByteArray verified(const QByteArray &kind, const QByteArray &first, const QByteArray &token = {})
{
    const QByteArray command = "node '" ZEF_SOURCE_DIR "/tests/standins/account/verify.js' " +
                               kind + " '" + first + "' '" + token + "' 2>&1";
    FILE *pipe = popen(command.constData(), "r");
    QByteArray output(1 << 16, '\0');
    output.truncate(int(fread(output.data(), 1, std::size_t(output.size()), pipe)));
    return pclose(pipe) == 0 ? output : QByteArray();
}

/// A listening socket on loopback.
class Listener
{
public:
    Listener()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto *name = reinterpret_cast<sockaddr *>(&address);
        if (bind(m_socket, name, length) == 0 && listen(m_socket, 1) == 0 &&
            getsockname(m_socket, name, &length) == 0) {
            m_port = ntohs(address.sin_port);
        }
    }
    ~Listener() { close(m_socket); }
    Q_DISABLE_COPY(Listener)

    QByteArray address() const { return "127.0.0.1:" + QByteArray::number(m_port); }

private:
    int m_socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int m_port = 0;
};

} // namespace

class tst_AccountStandinServices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // signing
    void signaturesAreAcceptedElsewhere();
    void challengeIsAcceptedElsewhere();
    void signingRefusesEmptyInputs();
    void signingWorksOnManyThreads();

    // office suite
    void officeAnswers_data();
    void officeAnswers();
    void grantSignsIn();
    void messagesReachTheHandlers();

    // device
    void networkCheckReallyConnects();
    void headerNamesTheDevice();

    // misbehaviour
    void hostileModeRepeats();

private:
    bool start(const char *standin = "{'initFinishedAfterMs':0}");
    QByteArray signData(const QByteArray &data);

    zefstandin::AccountControl *m_control = nullptr;
    std::unique_ptr<LoadedStandin> m_standin;
};

void tst_AccountStandinServices::init()
{
    m_control = LoadedStandin::control();
    QVERIFY(m_control);
    m_control->reset();
}

void tst_AccountStandinServices::cleanup()
{
    m_standin.reset();
    QVERIFY(!LoadedStandin::isMapped());
}

bool tst_AccountStandinServices::start(const char *standin)
{
    m_standin.reset(new LoadedStandin);
    return m_standin->isOpen() && m_standin->start(settings(standin));
}

QByteArray tst_AccountStandinServices::signData(const QByteArray &data)
{
    QByteArray token;
    return (*m_standin)->getSignService()->signLoginData(data, token) ? token : QByteArray();
}

void tst_AccountStandinServices::signaturesAreAcceptedElsewhere()
{
    QVERIFY(start());
    ISignService *service = (*m_standin)->getSignService();
    const QByteArray jwk = service->getJwkPublicKeyStr();
    QByteArray token = signData("user=ann&n=\xc3\xa4");
    QVariantMap seen = fromJson(verified("jws", jwk, token));
    QCOMPARE(seen.value("payload").toString(), QString("user=ann&n=\u00e4"));
    QCOMPARE(seen.value("header").toMap().value("kid"), fromJson(jwk).value("kid"));

    QByteArray pop;
    QVERIFY(service->signPopToken("GET", "https://x.example.com/a", "1.2", pop));
    seen = fromJson(verified("jws", jwk, pop));
    const QVariantMap key = seen.value("header").toMap().value("jwk").toMap();
    QCOMPARE(key.value("x"), fromJson(jwk).value("x"));
    const QVariantMap claims = fromJson(seen.value("payload").toString().toUtf8());
    QCOMPARE(claims.keys(), (QStringList{"cv", "htm", "htu", "iat", "jti"}));
    QCOMPARE(claims.value("htm").toString() + claims.value("cv").toString(), QString("GET1.2"));

    // The check can fail: another payload under the same signature, another run's key.
    const QList<QByteArray> parts = token.split('.');
    QVERIFY(verified("jws", jwk, parts[0] + ".eA." + parts[2]).isEmpty());
    m_standin->close();
    QVERIFY(start());
    QVERIFY(verified("jws", (*m_standin)->getSignService()->getJwkPublicKeyStr(), token).isEmpty());
}

void tst_AccountStandinServices::challengeIsAcceptedElsewhere()
{
    QVERIFY(start());
    QString verifier;
    QString challenge;
    QVERIFY((*m_standin)->getSignService()->generatePKCEParam(verifier, challenge));
    QVERIFY(QRegExp("[A-Za-z0-9_-]{43,128}").exactMatch(verifier));
    QCOMPARE(verified("pkce", verifier.toLatin1()), challenge.toLatin1());

    QString second;
    QVERIFY((*m_standin)->getSignService()->generatePKCEParam(second, challenge));
    QVERIFY(second != verifier);
}

void tst_AccountStandinServices::signingRefusesEmptyInputs()
{
    QVERIFY(start());
    ISignService *service = (*m_standin)->getSignService();
    QByteArray signature;
    QVERIFY(!service->signLoginData("", signature));
    QVERIFY(!service->signPopToken("", "u", "c", signature));
    QVERIFY(!service->signPopToken("m", "", "c", signature));
    QVERIFY(!service->signPopToken("m", "u", "", signature));
}

void tst_AccountStandinServices::signingWorksOnManyThreads()
{
    QVERIFY(start());
    std::set<QByteArray> tokens;
    std::mutex mutex; // guards tokens
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 25; ++n) {
                const QByteArray token = signData("data");
                const std::lock_guard<std::mutex> lock(mutex);
                tokens.insert(token);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(tokens.size(), std::size_t(100));
    const QByteArray jwk = (*m_standin)->getSignService()->getJwkPublicKeyStr();
    QVERIFY(!verified("jws", jwk, *tokens.begin()).isEmpty());
    QVERIFY(!verified("jws", jwk, *tokens.rbegin()).isEmpty());
}

void tst_AccountStandinServices::officeAnswers_data()
{
    QTest::addColumn<QByteArray>("standin");
    QTest::addColumn<QString>("task");
    QTest::addColumn<QString>("params");
    QTest::addColumn<QString>("statuses");
    QTest::addColumn<QString>("reason"); // "granted", a reason, or "none" without a result

    const auto add = [](const char *name, const char *standin, const char *task, const char *params,
                        const char *statuses, const char *reason) {
        QTest::newRow(name) << QByteArray(standin) << task << QString(params).replace('\'', '"')
                            << statuses << reason;
    };
    const char *const grant = "grantAuthorizeCodeOffice";
    const char *const message = "notifyOfficeMsg";
    add("grants", "{}", grant, "{}", "10 50 100", "granted");
    add("user info", "{}", "getAuthorizedUserInfoOffice", "{}", "10 50 100", "granted");
    add("absent", "{'office':{'present':false}}", grant, "{}", "101", "none");
    add("refuses", "{'office':{'grants':false,'reason':'no'}}", grant, "{}", "10 50 100", "no");
    add("unknown user", "{}", grant, "{'userId':'x'}", "10 50 100", "user not signed in");
    add("no meeting", "{}", message, "{'msgType':'enterMeeting'}", "10 50 100", "no meeting");
    add("meeting", "{'office':{'meeting':{'meetingUrl':'u'}}}", message,
        "{'msgType':'enterMeeting'}", "10 50 100", "granted");
    add("status", "{}", message, "{'msgType':'getMeetingStatus','event':'e','busyType':'b'}",
        "10 50 100", "granted");
    add("status incomplete", "{}", message, "{'msgType':'getMeetingStatus'}", "10 50 100",
        "status not complete");
    add("twice", "{'script':{'grantAuthorizeCodeOffice':{'times':2}}}", grant, "{}",
        "10 50 100 100", "granted");
    add("never", "{'script':{'grantAuthorizeCodeOffice':{'times':0}}}", grant, "{}", "10 50",
        "none");
    add("odd statuses", "{'script':{'grantAuthorizeCodeOffice':{'statuses':[-1,2147483647]}}}",
        grant, "{}", "-1 2147483647", "granted");
    add("inside the call", "{'script':{'grantAuthorizeCodeOffice':{'thread':'caller'}}}", grant,
        "{}", "10 50 100", "granted");
    add("refused task", "{'script':{'grantAuthorizeCodeOffice':{'refuse':true}}}", grant, "{}", "",
        "none");
    add("unknown task", "{}", "dance", "{}", "", "none");
}

void tst_AccountStandinServices::officeAnswers()
{
    QFETCH(QByteArray, standin);
    QFETCH(QString, task);
    QFETCH(QString, params);
    QFETCH(QString, statuses);
    QFETCH(QString, reason);

    QVERIFY(start(standin));
    QStringList given;
    QVariantMap result;
    const auto note = [&](int status, const QVariantMap &reply) {
        given.append(QString::number(status));
        result = reply.value("taskResult").toMap();
        return true;
    };
    const bool isAccepted =
        (*m_standin)->getScheduler()->submit({}, task, fromJson(params.toUtf8()), nullptr, note);
    QVERIFY(m_control->waitUntilIdle(kPatience));
    QCOMPARE(isAccepted, !statuses.isEmpty());
    QCOMPARE(given.join(' '), statuses);
    const QString words =
        result.value("bResult").toBool() ? QString("granted") : result.value("reason").toString();
    QCOMPARE(result.isEmpty() ? QString("none") : words, reason);
}

/// The code that the office suite grants signs in once, and only once.
void tst_AccountStandinServices::grantSignsIn()
{
    QVERIFY(start());
    QVariantMap grant;
    QVERIFY((*m_standin)
                ->getScheduler()
                ->submit({}, "grantAuthorizeCodeOffice", {{"keepOnline", true}}, nullptr,
                         [&](int, const QVariantMap &reply) {
                             grant = reply.value("taskResult").toMap();
                             return true;
                         }));
    QVERIFY(m_control->waitUntilIdle(kPatience));
    for (int i = 0; i < 2; ++i) {
        (*m_standin)->getLoginService()->loginCallback(grant, [](const QVariantMap &) {});
    }
    QVERIFY(m_control->waitUntilIdle(kPatience));
    QCOMPARE(lines(m_control->answers()).mid(3),
             (QStringList{"loginCallback ok", "loginCallback fail"}));
    QCOMPARE((*m_standin)->getAccount()->currentUserId(), QString("10001"));
    QVERIFY((*m_standin)->getAccount()->isKeepOnline());
}

void tst_AccountStandinServices::messagesReachTheHandlers()
{
    QVERIFY(start("{'timeline':[{'afterMs':0,'message':{'msgType':'early'}}]}"));
    QStringList seen;
    (*m_standin)
        ->getMessageTaskRegistry()
        ->registerMessageTask(
            "notifyElectronMsg", "meetingDataChanged", nullptr,
            [&](const std::weak_ptr<IMessageTaskContext> &context) {
                const bool isExpired = context.expired();
                const std::shared_ptr<IMessageTaskContext> object = context.lock();
                seen.append(object      ? object->messageData().value("msgType").toString()
                            : isExpired ? QString("gone")
                                        : QString("null"));
                return bool(object);
            });
    seen.clear(); // the timeline may have been faster or not
    for (const auto kind : {MessageContext::alive, MessageContext::gone, MessageContext::empty,
                            MessageContext::nullObject}) {
        m_control->sendMessage(R"({"msgType":"x"})", Thread::library, kind);
    }
    QVERIFY(m_control->waitUntilIdle(kPatience));
    seen.removeAll("early");
    QCOMPARE(seen, (QStringList{"x", "gone", "gone", "null"}));

    m_standin->close();
    QCOMPARE(m_control->sendMessage(R"({"msgType":"late"})", Thread::caller, MessageContext::alive),
             1);
    QCOMPARE(seen.last(), QString("late"));
}

void tst_AccountStandinServices::networkCheckReallyConnects()
{
    QVERIFY(start());
    auto listener = std::make_unique<Listener>();
    const QByteArray address = listener->address();
    QVERIFY(m_control->setState("{\"networkCheck\":\"" + address.toStdString() + "\"}"));
    const auto isReachable = [this] {
        const QVariantMap status =
            fromJson((*m_standin)->getAccessbaseService()->getDeviceNetworkStatus().toUtf8());
        return status.value("check").toMap().value("reachable").toBool();
    };
    QVERIFY(isReachable());
    listener.reset();
    QVERIFY(!isReachable());
}

void tst_AccountStandinServices::headerNamesTheDevice()
{
    QVERIFY(start());
    IAccessbaseService *service = (*m_standin)->getAccessbaseService();
    const QVariantMap info = fromJson(service->getDeviceInfo().toUtf8());
    char host[256] = {};
    QCOMPARE(gethostname(host, sizeof host - 1), 0);
    QCOMPARE(info.value("deviceName").toString(), QString(host));
    const QVariantMap header =
        fromJson(service->getDeviceHeader(R"({"header":{"a":"1"}})").toUtf8());
    QCOMPARE(header.value("a").toString(), QString("1"));
    QCOMPARE(header.value("deviceId"), info.value("deviceId"));
    QCOMPARE(service->getDeviceHeader("no JSON"), QString());
}

/// The same seed gives the same misbehaviour, another one a different one.
void tst_AccountStandinServices::hostileModeRepeats()
{
    QVERIFY(start());
    const auto behaviour = [this](unsigned seed) {
        m_control->setHostile(seed);
        QByteArray results;
        for (int i = 0; i < 200; ++i) {
            results.append((*m_standin)->getDomainMgr() ? '1' : '0');
        }
        m_control->setHostile(0);
        return results;
    };
    const QByteArray first = behaviour(7);
    QVERIFY(first.contains('0') && first.contains('1'));
    QCOMPARE(behaviour(7), first);
    QVERIFY(behaviour(8) != first);
}

#include "tst_accountstandinservices.moc"
QTEST_APPLESS_MAIN(tst_AccountStandinServices)
