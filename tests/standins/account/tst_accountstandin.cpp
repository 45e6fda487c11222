#include "loadedstandin.h"

#include <QTest>

#include <unistd.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

using zefstandin::Thread;

namespace {

const char *const kTwoUsers =
    "{'accounts':[{'userid':'ann','nickname':'Ann','is_login':true,'company_id':'c1',"
    "'is_company_account':true,'reg_time':'7'},{'userid':'bob','is_login':true}],"
    "'users':[{'userid':'eve'}],'currentUserId':'ann','initFinishedAfterMs':0}";

} // namespace

class tst_AccountStandin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // loading
    void exportsFollowTheVariant_data();
    void exportsFollowTheVariant();
    void everyInitStepCanFail_data();
    void everyInitStepCanFail();
    void initCanThrow();

    // accounts
    void operationsChangeTheState_data();
    void operationsChangeTheState();
    void recordsDescribeTheCurrentAccount();
    void referencesSurviveChangesByOthers();
    void cookiesFollowTheirRules_data();
    void cookiesFollowTheirRules();

    // shutdown
    void owedAnswersAreCancelled();
    void heldAnswersOutliveTheLibrary();
    void deliveriesMayOverlapTheEnd();

private:
    bool start(const char *standin = "{'initFinishedAfterMs':0}");

    zefstandin::AccountControl *m_control = nullptr;
    std::unique_ptr<LoadedStandin> m_standin;
};

void tst_AccountStandin::init()
{
    m_control = LoadedStandin::control();
    QVERIFY(m_control);
    m_control->reset();
    QVERIFY(!LoadedStandin::isMapped());
}

/// Whatever a case has done, nothing of it may keep the library loaded.
void tst_AccountStandin::cleanup()
{
    m_standin.reset();
    QVERIFY(!LoadedStandin::isMapped());
}

bool tst_AccountStandin::start(const char *standin)
{
    m_standin.reset(new LoadedStandin);
    return m_standin->start(settings(standin));
}

void tst_AccountStandin::exportsFollowTheVariant_data()
{
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QByteArray>("missing");

    QTest::newRow("complete") << QByteArray("lib") << QByteArray();
    QTest::newRow("no init") << QByteArray("standins/no-init") << QByteArray("InitInterface");
    QTest::newRow("no get") << QByteArray("standins/no-get") << QByteArray("GetInterface");
    QTest::newRow("no uninit") << QByteArray("standins/no-uninit") << QByteArray("UninitInterface");
}

void tst_AccountStandin::exportsFollowTheVariant()
{
    QFETCH(QByteArray, folder);
    QFETCH(QByteArray, missing);

    char program[4096] = {};
    QVERIFY(readlink("/proc/self/exe", program, sizeof program - 1) > 0);
    const QByteArray bin(program, int(strrchr(program, '/') - program));
    const LoadedStandin standin(bin + "/../" + folder + "/libzaccountlite.so");
    QVERIFY(standin.isOpen());
    QVERIFY(LoadedStandin::isMapped());
    for (const char *symbol :
         {"InitInterface", "GetInterface", "UninitInterface", "zefAccountStandinControl"}) {
        QCOMPARE(standin.has(symbol), symbol != missing);
    }
}

void tst_AccountStandin::everyInitStepCanFail_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("calls");

    const QStringList ended{"UninitInterface"};
    QTest::newRow("InitInterface") << "InitInterface"
                                   << R"({"refuse":true})" << QStringList{"InitInterface"} + ended;
    QTest::newRow("GetInterface") << "GetInterface"
                                  << R"({"refuse":true})"
                                  << QStringList{"InitInterface", "GetInterface"} + ended;
    QTest::newRow("null interface")
        << "GetInterface"
        << R"({"null":true})" << QStringList{"InitInterface", "GetInterface"} + ended;
    QTest::newRow("init") << "init"
                          << R"({"refuse":true})"
                          << QStringList{"InitInterface", "GetInterface", "init", "uninit"} + ended;
}

void tst_AccountStandin::everyInitStepCanFail()
{
    QFETCH(QString, step);
    QFETCH(QString, script);
    QFETCH(QStringList, calls);

    QVERIFY(m_control->script(step.toStdString(), script.toStdString()));
    QVERIFY(!start());
    m_standin->close();
    QCOMPARE(lines(m_control->calls()), calls);
}

void tst_AccountStandin::initCanThrow()
{
    QVERIFY(!m_control->script("init", R"({"unknown key":true})"));
    QVERIFY(!m_control->script("unknown operation", "{}"));
    QVERIFY_EXCEPTION_THROWN(start("{'script':{'init':{'throw':'no disk'}}}"), std::runtime_error);
}

void tst_AccountStandin::operationsChangeTheState_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("params");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("currentUser");
    QTest::addColumn<QString>("signalNames");

    const QString switched = "currentAccountChanged authInfoChanged userInfoChanged "
                             "companyInfoChanged cookieUpdated accountListInfoChanged";
    const QString company = "companyInfoChanged authInfoChanged accountListInfoChanged";
    const auto add = [](const char *name, const char *operation, const char *params,
                        const char *message, const char *user, const QString &names) {
        QTest::newRow(name) << operation << QString(params).replace('\'', '"') << message << user
                            << names;
    };
    add("session", "loginCallback", "{'loginType':'ssid','ssid':'ssid-eve'}", "success", "eve",
        switched);
    add("random code", "loginCallback", "{'loginType':'randcode','randcode':'randcode-eve'}",
        "success", "eve", switched);
    add("wrong code", "loginCallback", "{'loginType':'randcode','randcode':'ssid-eve'}",
        "sign-in refused", "ann", "");
    add("no code", "loginCallback", "{'loginType':'ssid'}", "sign-in refused", "ann", "");
    add("refused grant", "loginCallback", "{'extParam':{}}", "no authorization", "ann", "");
    add("granted to another", "loginCallback",
        "{'bResult':true,'authorizeCode':'code-eve','userId':'bob'}", "sign-in refused", "ann", "");
    add("log out", "logout", "{}", "success", "bob", switched);
    add("log out another", "logout", "{'userId':'bob'}", "success", "ann",
        "accountListInfoChanged");
    add("log out unknown", "logout", "{'userId':'eve'}", "account not found", "ann", "");
    add("switch", "switchAccount", "{'userId':'bob'}", "success", "bob", switched);
    add("switch to same", "switchAccount", "{'userId':'ann'}", "success", "ann", "");
    add("switch to none", "switchAccount", "{}", "userId is empty", "ann", "");
    add("upgrade", "upgradeAccount", "{'userId':'bob','companyId':'c2'}", "success", "ann",
        company);
    add("upgrade twice", "upgradeAccount", "{'companyId':'c2'}", "already a company account", "ann",
        "");
    add("downgrade", "downgradeAccount", "{}", "success", "ann", company);
    add("update", "updateAccountInfo", "{'nickname':'A'}", "success", "ann",
        "userInfoChanged accountListInfoChanged");
    add("update nothing", "updateAccountInfo", "{}", "nothing to update", "ann", "");
    add("url", "getUrlWithAuthorizeCode", "{'url':'https://x.example.com/?a=1'}", "success", "ann",
        "");
    add("url without host", "getUrlWithAuthorizeCode", "{'url':'file:///x'}", "url is not valid",
        "ann", "");
}

void tst_AccountStandin::operationsChangeTheState()
{
    QFETCH(QString, operation);
    QFETCH(QString, params);
    QFETCH(QString, message);
    QFETCH(QString, currentUser);
    QFETCH(QString, signalNames);

    QVERIFY(start(kTwoUsers));
    SignalLog log((*m_standin)->notifier());
    QVERIFY(m_control->waitUntilIdle(kPatience));
    QCOMPARE(log.take(), QStringList{"initFinished"});

    QList<QVariantMap> replies;
    ((*m_standin)->getLoginService()->*loginOperation(operation))(
        fromJson(params.toUtf8()), [&](const QVariantMap &reply) { replies.append(reply); });

    QVERIFY(m_control->waitUntilIdle(kPatience));
    QCOMPARE(replies.size(), 1);
    QCOMPARE(replies[0].value("msg").toString(), message);
    QCOMPARE(replies[0].value("result").toString(), QString(message == "success" ? "ok" : "fail"));
    QCOMPARE((*m_standin)->getAccount()->currentUserId(), currentUser);
    QCOMPARE(log.take().join(' '), signalNames);
}

void tst_AccountStandin::recordsDescribeTheCurrentAccount()
{
    QVERIFY(start(kTwoUsers));
    IAccount *account = (*m_standin)->getAccount();
    QCOMPARE(account->authInfo().userId, QString("ann"));
    QCOMPARE(account->authInfo().companyId, QString("c1"));
    QCOMPARE(account->authInfo().coaId, QString("coa-ann"));
    QCOMPARE(account->userInfo().registrationTime, QString("7"));
    QCOMPARE(account->accountList().size(), 2);
    QVERIFY(account->accountList()[0].isCompanyAccount);

    QVERIFY(m_control->setState(R"({"generateAccounts":10000,"currentUserId":"user-10000"})"));
    QCOMPARE(account->accountList().size(), 10000);
    QCOMPARE(account->authInfo().userId, QString("user-10000"));
}

void tst_AccountStandin::referencesSurviveChangesByOthers()
{
    QVERIFY(start(kTwoUsers));
    const QList<AccountListItem> &before = (*m_standin)->getAccount()->accountList();
    std::thread([this] {
        for (int i = 0; i < 100; ++i) {
            m_control->setState(R"({"accounts":[{"userid":"new"}]})");
        }
    }).join();
    QCOMPARE(before[0].nickname, QString("Ann"));
    QCOMPARE((*m_standin)->getAccount()->accountList()[0].userId, QString("new"));
}

void tst_AccountStandin::cookiesFollowTheirRules_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("names");

    QTest::newRow("same host") << "http://www.example.com/"
                               << "all host";
    QTest::newRow("secure") << "https://www.example.com/"
                            << "all host safe";
    QTest::newRow("path") << "http://www.example.com/doc/x"
                          << "all deep host";
    QTest::newRow("path prefix only") << "http://www.example.com/docs"
                                      << "all host";
    QTest::newRow("sibling") << "http://mail.example.com/"
                             << "all";
    QTest::newRow("foreign") << "http://www.example.org/"
                             << "";
    QTest::newRow("session") << "https://account.example.com/"
                             << "all sid";
    QTest::newRow("empty") << ""
                           << "";
}

void tst_AccountStandin::cookiesFollowTheirRules()
{
    QFETCH(QString, url);
    QFETCH(QString, names);

    QVERIFY(start("{'accounts':[{'userid':'a'}],'currentUserId':'a','cookies':["
                  "{'url':'http://www.example.com/','setCookie':'host=1'},"
                  "{'url':'http://www.example.com/','setCookie':'all=1; Domain=example.com'},"
                  "{'url':'http://www.example.com/','setCookie':'deep=1; Path=/doc'},"
                  "{'url':'https://www.example.com/','setCookie':'safe=1; Secure; HttpOnly'},"
                  "{'url':'http://www.example.com/','setCookie':'evil=1; Domain=example.org'},"
                  "{'url':'http://www.example.com/',"
                  "'setCookie':'old=1; Expires=Wed, 01 Jan 2020 00:00:00 GMT'}]}"));
    QStringList found;
    for (const QNetworkCookie &cookie :
         (*m_standin)->getCookieFactory()->cookiesForUrl(QUrl(url))) {
        found.append(cookie.name());
    }
    found.sort();
    QCOMPARE(found.join(' '), names);
}

void tst_AccountStandin::owedAnswersAreCancelled()
{
    QVERIFY(start());
    QVERIFY(m_control->script("logout", R"({"delayMs":600000})"));
    QVERIFY(m_control->script("grantAuthorizeCodeOffice", R"({"delayMs":600000})"));
    QVERIFY(m_control->script("switchAccount", R"({"delayMs":600000,"dropAtUninit":true})"));
    QVariantMap reply;
    const CallBackFunc keep = [&](const QVariantMap &given) { reply = given; };
    (*m_standin)->getLoginService()->logout({}, keep);
    (*m_standin)->getLoginService()->switchAccount({}, keep);
    (*m_standin)
        ->getScheduler()
        ->submit({}, "grantAuthorizeCodeOffice", {}, nullptr,
                 [](int, const QVariantMap &) { return true; });

    m_standin->close(); // not after ten minutes
    QCOMPARE(reply, (QVariantMap{{"result", "fail"}, {"msg", "cancelled"}}));
    QStringList answers = lines(m_control->answers());
    answers.sort();
    QCOMPARE(answers, (QStringList{"grantAuthorizeCodeOffice 102 true", "logout fail"}));
}

void tst_AccountStandin::heldAnswersOutliveTheLibrary()
{
    QVERIFY(
        start("{'script':{'logout':{'hold':true},'getAuthorizedUserInfoOffice':{'hold':true}}}"));
    QList<int> statuses;
    QStringList messages;
    std::thread::id thread;
    (*m_standin)->getLoginService()->logout({{"userId", "x"}}, [&](const QVariantMap &reply) {
        messages.append(reply.value("msg").toString());
        thread = std::this_thread::get_id();
    });
    (*m_standin)
        ->getScheduler()
        ->submit({"one", "two"}, "getAuthorizedUserInfoOffice", {}, nullptr,
                 [&](int status, const QVariantMap &) {
                     statuses.append(status);
                     return status >= 100;
                 });
    QVERIFY(m_control->waitUntilIdle(kPatience));
    QCOMPARE(m_control->callRecords().back().appIds, std::string("one,two"));
    m_standin->close();
    QVERIFY(!LoadedStandin::isMapped());
    QVERIFY(statuses.isEmpty() && messages.isEmpty());

    std::vector<zefstandin::HeldAnswer> held = m_control->held();
    QCOMPARE(held.size(), std::size_t(2));
    if (held[0].isTask) {
        std::swap(held[0], held[1]);
    }
    QCOMPARE(held[0].params, std::string(R"({"userId":"x"})"));
    QVERIFY(m_control->answerHeld(held[1].id, Thread::caller, -7, "{}", true));
    QVERIFY(m_control->answerHeld(held[1].id, Thread::caller, 100, "", false));
    QVERIFY(!m_control->release(held[1].id, Thread::caller));
    QVERIFY(!m_control->release(held[0].id, Thread::host)); // no application, nothing lost
    QVERIFY(m_control->release(held[0].id, Thread::library));
    QVERIFY(m_control->waitUntilIdle(kPatience));
    QCOMPARE(statuses, (QList<int>{-7, 100}));
    QCOMPARE(messages, QStringList{"account not found"});
    QVERIFY(thread != std::this_thread::get_id());
}

/// The control and the library's threads deliver without pause while the library ends.
void tst_AccountStandin::deliveriesMayOverlapTheEnd()
{
    std::atomic<bool> isEnough{false};
    std::atomic<int> delivered{0};
    const MessageTaskHandler handler = [&](const std::weak_ptr<IMessageTaskContext> &context) {
        delivered += bool(context.lock());
        return true;
    };
    std::vector<std::thread> threads;
    for (const Thread place : {Thread::caller, Thread::library}) {
        threads.emplace_back([&, place] {
            while (!isEnough) {
                m_control->raiseSignal("cookieUpdated", place);
                m_control->sendMessage("{}", place, zefstandin::MessageContext::alive);
                m_control->collect("{}", place);
                m_control->setState(R"({"generateAccounts":3})");
                m_control->waitUntilIdle(1);
            }
        });
    }
    for (int round = 0; round < 30; ++round) {
        const int before = delivered;
        QVERIFY(start());
        (*m_standin)
            ->getMessageTaskRegistry()
            ->registerMessageTask("notifyElectronMsg", "meetingDataChanged", nullptr, handler);
        (*m_standin)->getInfoCollectHandler()->registerCollectCallback([](const QVariantMap &) {});
        (*m_standin)->getLoginService()->logout({}, [](const QVariantMap &) {});
        QTRY_VERIFY_WITH_TIMEOUT(delivered > before, kPatience);
        m_standin->close();
        QVERIFY(!LoadedStandin::isMapped());
    }
    isEnough = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    QVERIFY(m_control->waitUntilIdle(kPatience));
}

#include "tst_accountstandin.moc"
QTEST_APPLESS_MAIN(tst_AccountStandin)
