#include "support/hostfixture.h"
#include "support/rows.h"

#include <QJsonArray>
#include <QtTest>

using zefstandin::MessageContext;
using zefstandin::Thread;

/// Two people, the second one signed in at present.
static const char kTwoAccounts[] =
    R"({"currentUserId":"u2","accounts":[)"
    R"({"userid":"u1","nickname":"Eins","is_login":true,"login_account_limit":3},)"
    R"({"userid":"u2","nickname":"Zwei","is_login":true,"is_company_account":true,)"
    R"("company_id":"c2","coa_Id":"coa2","reg_time":"2020-01-01","keep_online":true}]})";

class tst_Account : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    // methods that the login service answers
    void requestsArePassedOn_data();
    void requestsArePassedOn();
    void loginTypeIsReplaced();
    void missingServicesAreNamed_data();
    void missingServicesAreNamed();
    void exceptionOfTheLibraryIsAReply();

    // methods that go through the office suite
    void quickLoginHandsTheGrantOn();
    void quickLoginHandsARefusalOn();
    void officeTasksAreSubmitted();
    void refusedTaskIsReported();
    void officeUserIsAnswered_data();
    void officeUserIsAnswered();
    void eachFinalStatusIsAnswered();
    void lateDeliveriesReachNobody();

    // account list, cookies, signing
    void accountsAreListed();
    void currentAccountIsTheOneOfTheId();
    void emptyListHasOneEntry();
    void cookiesAreShaped();
    void signingIsWrapped();
    void refusedSigningIsReported();

private:
    HostFixture m_host;
};

void tst_Account::cleanup()
{
    m_host.framework.uninit();
    m_host.library.account().reset();
}

void tst_Account::requestsArePassedOn_data()
{
    const auto row = columns<QByteArray>("method");

    for (const char *method :
         {"loginCallback", "logout", "switchAccount", "upgradeAccount", "downgradeAccount",
          "updateAccountInfo", "getUrlWithAuthorizeCode"}) {
        row(method, method);
    }
}

void tst_Account::requestsArePassedOn()
{
    QFETCH(QByteArray, method);

    QVERIFY(m_host.start());
    QVERIFY(m_host.script(method, R"({"reply":{"own":"format"}})"));
    QCOMPARE(m_host.asynCall("account." + method, R"({"a":{"b":[1,"%1"]}})"),
             QByteArray(R"({"own":"format"})"));
    QCOMPARE(m_host.argumentsOf(method), QByteArrayList{R"({"a":{"b":[1,"%1"]}})"});

    QCOMPARE(m_host.call("account." + method),
             failure("method:" + method + " not support thread safe"));
}

void tst_Account::loginTypeIsReplaced()
{
    QVERIFY(m_host.start());
    m_host.asynCall("account.loginWithSsid", R"({"loginType":"randcode","ssid":"s"})");
    m_host.asynCall("account.loginWithRandcode", R"({"randcode":"r"})");
    QCOMPARE(m_host.argumentsOf("loginCallback"),
             (QByteArrayList{R"({"loginType":"ssid","ssid":"s"})",
                             R"({"loginType":"randcode","randcode":"r"})"}));
}

void tst_Account::missingServicesAreNamed_data()
{
    const auto row = columns<QByteArray, QByteArray, QByteArray>("method", "getter", "message");
    const auto missing = [&](const char *method, const char *getter, const char *message) {
        row(method, method, getter, message);
    };

    for (const char *method :
         {"account.loginCallback", "account.logout", "account.switchAccount",
          "account.upgradeAccount", "account.downgradeAccount", "account.updateAccountInfo"}) {
        missing(method, "getLoginService", "sercice is nullptr");
    }
    for (const char *method : {"account.getUrlWithAuthorizeCode", "account.loginWithSsid",
                               "account.loginWithRandcode"}) {
        missing(method, "getLoginService", "service is nullptr");
    }
    for (const char *method : {"account.getJwkPublicKeyStr", "account.signPopToken",
                               "account.signLoginData", "account.generatePKCEParam"}) {
        missing(method, "getSignService", "service is nullptr");
    }
    missing("account.quickLogin", "getScheduler", "scheduler is nullptr");
    missing("account.getOfficeUserInfo", "getScheduler", "scheduler is nullptr");
    missing("account.queryWebviewCookies", "getCookieFactory", "factory is nullptr");
    missing("account.getAccountListInfo", "getAccount", "account is nullptr");
    missing("meeting.changeMeetingStatus", "getScheduler", "scheduler is null");
    missing("accessbase.getDeviceInfo", "getAccessbaseService", "accessbaseService is nullptr");
    missing("accessbase.getDeviceNetworkStatus", "getAccessbaseService",
            "accessbaseService is nullptr");
    missing("accessbase.getDeviceHeader", "getAccessbaseService", "accessbaseService is nullptr");
}

void tst_Account::missingServicesAreNamed()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, getter);
    QFETCH(QByteArray, message);

    QVERIFY(m_host.start());
    QVERIFY(m_host.script(getter, R"({"refuse":true})"));
    QCOMPARE(m_host.asynCall(method), failure(message));

    // The service is asked for afresh each time.
    QVERIFY(m_host.script(getter, "{}"));
    QVERIFY(!m_host.asynCall(method).contains("nullptr"));
}

void tst_Account::exceptionOfTheLibraryIsAReply()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("logout", R"({"throw":"broken"})"));
    QVERIFY(m_host.script("getJwkPublicKeyStr", R"({"throw":"broken"})"));
    QCOMPARE(m_host.asynCall("account.logout"), failure("method:logout asynCall failed"));
    QCOMPARE(m_host.call("account.getJwkPublicKeyStr"),
             failure("method:getJwkPublicKeyStr call failed"));

    QVERIFY(m_host.script("loginCallback", R"({"throw":"broken"})"));
    QCOMPARE(m_host.asynCall("account.quickLogin"), failure("method:quickLogin asynCall failed"));
    QVERIFY(m_host.script("getAccount", R"({"throw":"broken"})"));
    QVERIFY(m_host.script("getAuthorizedUserInfoOffice",
                          R"({"reply":{"taskResult":{"bResult":true}}})"));
    QCOMPARE(m_host.asynCall("account.getOfficeUserInfo"),
             failure("method:getOfficeUserInfo asynCall failed"));
    QVERIFY(m_host.library.account().waitUntilIdle(10000));
    QCOMPARE(m_host.library.account().exceptions(), 0L);
}

void tst_Account::quickLoginHandsTheGrantOn()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("grantAuthorizeCodeOffice",
                          R"({"statuses":[-1,50,99,100],)"
                          R"("reply":{"taskResult":{"bResult":true,"userId":"u7",)"
                          R"("extParam":"another"}}})"));
    QVERIFY(m_host.script("loginCallback", R"({"reply":{"result":"ok"}})"));
    QCOMPARE(m_host.asynCall("account.quickLogin", R"({"extParam":{"x":1}})"),
             QByteArray(R"({"result":"ok"})"));
    QCOMPARE(m_host.argumentsOf("loginCallback"),
             QByteArrayList{R"({"bResult":true,"extParam":{"x":1},"userId":"u7"})"});
}

void tst_Account::quickLoginHandsARefusalOn()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("grantAuthorizeCodeOffice",
                          R"({"statuses":[101],"reply":{"taskResult":{"userId":"u7"}}})"));
    m_host.asynCall("account.quickLogin");
    QCOMPARE(m_host.argumentsOf("loginCallback"), QByteArrayList{R"({"extParam":{}})"});

    QVERIFY(m_host.script("getLoginService", R"({"refuse":true})"));
    QCOMPARE(m_host.asynCall("account.quickLogin"), failure("sercice is nullptr"));
}

void tst_Account::officeTasksAreSubmitted()
{
    QVERIFY(m_host.start());
    m_host.asynCall("account.quickLogin", R"({"keepOnline":true,"userId":"u"})");
    m_host.asynCall("account.quickLogin");
    m_host.asynCall("account.getOfficeUserInfo");

    QCOMPARE(m_host.argumentsOf("submit grantAuthorizeCodeOffice"),
             (QByteArrayList{R"({"keepOnline":true,"userId":"u"})",
                             R"({"keepOnline":false,"userId":""})"}));
    QCOMPARE(m_host.argumentsOf("submit getAuthorizedUserInfoOffice"),
             QByteArrayList{R"({"international":false,"source":"zefTest"})"});
    for (const zefstandin::Call &call : m_host.library.account().calls()) {
        if (!call.appIds.empty()) {
            QCOMPARE(call.appIds, std::string("tavo,semi,rulo,semi,tavooffice,pell"));
            QVERIFY(call.hasContext);
        }
    }
}

void tst_Account::refusedTaskIsReported()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("grantAuthorizeCodeOffice", R"({"refuse":true})"));
    QVERIFY(m_host.script("getAuthorizedUserInfoOffice", R"({"refuse":true})"));
    QCOMPARE(m_host.asynCall("account.quickLogin"), failure("sumbit failed"));
    QCOMPARE(m_host.asynCall("account.getOfficeUserInfo"), failure("sumbit failed"));
}

void tst_Account::officeUserIsAnswered_data()
{
    const auto row = columns<QByteArray, QByteArray>("taskResult", "expected");

    row("refused", R"({"bResult":false})", failure("getUserInfo failed"));
    row("no result", "{}", failure("getUserInfo failed"));
    row("reason", R"({"reason":"%1 busy"})", failure("%1 busy"));
    row("empty reason", R"({"reason":""})", failure("fail"));
    row("known user", R"({"bResult":true,"userId":"u1"})", failure("already logined user"));
    row("other case", R"({"bResult":true,"userId":"U1","result":"x"})",
        R"({"data":{"bResult":true,"result":"ok","userId":"U1"},"msg":"success","result":"ok"})");
}

void tst_Account::officeUserIsAnswered()
{
    QFETCH(QByteArray, taskResult);
    QFETCH(QByteArray, expected);

    QVERIFY(m_host.start(kTwoAccounts));
    QVERIFY(m_host.script("getAuthorizedUserInfoOffice",
                          R"({"statuses":[10,100],"reply":{"taskResult":)" + taskResult + "}}"));
    QCOMPARE(m_host.asynCall("account.getOfficeUserInfo"), expected);

    if (taskResult.contains("true")) {
        QVERIFY(m_host.script("getAccount", R"({"refuse":true})"));
        QCOMPARE(m_host.asynCall("account.getOfficeUserInfo"), failure("account is nullptr"));
    }
}

void tst_Account::eachFinalStatusIsAnswered()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("getAuthorizedUserInfoOffice", R"({"hold":true})"));
    Recorder recorder;
    QVERIFY(m_host.framework.asynCall("account.getOfficeUserInfo", "{}", &recorder));
    auto &account = m_host.library.account();
    QTRY_COMPARE(account.held().size(), std::size_t(1));
    const long id = account.held().front().id;
    for (const int status :
         {std::numeric_limits<int>::min(), -1, 0, 99, 100, std::numeric_limits<int>::max()}) {
        QVERIFY(account.answerHeld(id, Thread::library, status, "{}", true));
    }
    QVERIFY(account.waitUntilIdle(10000));
    QCOMPARE(recorder.text(0), failure("getUserInfo failed"));
    QCOMPARE(recorder.text(0), failure("getUserInfo failed"));
    QCOMPARE(recorder.count(), std::size_t(0));
}

void tst_Account::lateDeliveriesReachNobody()
{
    QVERIFY(m_host.start());
    for (const char *operation :
         {"getAuthorizedUserInfoOffice", "grantAuthorizeCodeOffice", "logout",
          "notifyOfficeMsg/getMeetingStatus", "notifyOfficeMsg/enterMeeting"}) {
        QVERIFY(m_host.script(operation, R"({"hold":true,"dropAtUninit":true})"));
    }
    auto recorder = std::make_unique<Recorder>();
    const char status[] = R"({"event":"e","busyType":"b","data":{"d":1}})";
    for (const char *method : {"account.getOfficeUserInfo", "account.quickLogin",
                               "meeting.changeMeetingStatus", "account.logout"}) {
        QVERIFY(m_host.framework.asynCall(method, status, recorder.get()));
    }
    for (const char *task : {"meetingDataChangeTask", "accountInfoCollectTask"}) {
        QVERIFY(m_host.framework.registerCallbackFunc(task, recorder.get()));
    }
    auto &account = m_host.library.account();
    QTRY_COMPARE(account.held().size(), std::size_t(5));
    QVERIFY(m_host.framework.uninit());
    recorder.reset(); // whoever is reached now writes into freed memory

    const auto deliverLate = [&] {
        const std::string granted = R"({"taskResult":{"bResult":true}})";
        const std::string message = R"({"msgType":"getMeetingStatus"})";
        QCOMPARE(account.sendMessage(message, Thread::caller, MessageContext::alive), 0);
        account.collect("{}", Thread::caller);
        for (const zefstandin::HeldAnswer &answer : account.held()) {
            account.answerHeld(answer.id, Thread::caller, 100, granted, true);
        }
    };
    deliverLate();
    QVERIFY(m_host.library.start()); // the next run does not count as theirs
    m_host.library.log().reset();
    deliverLate();
    QVERIFY(m_host.library.logLines().empty());
}

void tst_Account::accountsAreListed()
{
    QVERIFY(m_host.start(kTwoAccounts));
    const QByteArray reply = m_host.call("account.getAccountListInfo");
    QCOMPARE(m_host.asynCall("account.getAccountListInfo"), reply);

    const QJsonArray texts = dataOf(reply, "accountListInfo").toArray();
    QCOMPARE(texts.size(), 2);
    const QByteArray first = texts.at(0).toString().toUtf8();
    const QByteArray second = texts.at(1).toString().toUtf8();
    QVERIFY(first.startsWith(R"({"avatar_url":"","company_custom_domain":"","company_id":"",)"));
    QVERIFY(first.contains(R"(,"login_account_limit":3,)"));
    QCOMPARE(QJsonDocument::fromJson(first).object().size(), 19);
    QCOMPARE(QJsonDocument::fromJson(first).toJson(QJsonDocument::Compact), first);

    const QJsonObject current = QJsonDocument::fromJson(second).object();
    QCOMPARE(current.size(), 22);
    QCOMPARE(current.value("keep_online"), QJsonValue(true));
    QCOMPARE(current.value("reg_time"), QJsonValue("2020-01-01"));
    QCOMPARE(current.value("coa_Id"), QJsonValue("coa2"));
    QCOMPARE(QJsonDocument::fromJson(second).toJson(QJsonDocument::Compact), second);
}

void tst_Account::currentAccountIsTheOneOfTheId()
{
    QVERIFY(m_host.start(R"({"accounts":[{"userid":"1","is_current":true}]})"));
    const QByteArray reply = m_host.call("account.getAccountListInfo");
    const QString text = dataOf(reply, "accountListInfo").toArray().at(0).toString();
    const QJsonObject entry = QJsonDocument::fromJson(text.toUtf8()).object();
    QCOMPARE(entry.value("is_current"), QJsonValue(true));
    QCOMPARE(entry.size(), 19); // without what only the current account has
}

void tst_Account::emptyListHasOneEntry()
{
    QVERIFY(m_host.start());
    const QByteArray expected = R"({"data":{"accountListInfo":)"
                                R"(["{\"coa_Id\":\"\",\"company_id\":\"\",\"userid\":\"\"}"]},)"
                                R"("msg":"success","result":"ok"})";
    QCOMPARE(m_host.call("account.getAccountListInfo"), expected);
}

void tst_Account::cookiesAreShaped()
{
    QVERIFY(m_host.start(R"({"cookies":[{"url":"https://example.test/","setCookie":"a=1; path=/"},)"
                         R"({"url":"https://example.test/","setCookie":)"
                         R"("b=2; domain=.example.test; path=/; secure; httponly"}]})"));
    const QByteArray reply =
        m_host.call("account.queryWebviewCookies", R"({"url":"https://example.test/p?%1"})");
    const QJsonArray texts = dataOf(reply, "cookieList").toArray();
    QVERIFY(texts.contains(R"({"domain":"..example.test","httpOnly":true,"name":"b","path":"/",)"
                           R"("sameSite":"no_restriction","secure":true,)"
                           R"("url":"https://example.test/p?%1","value":"2"})"));
    QCOMPARE(texts.size(), 2);

    // What is not quite a URL is understood as far as possible.
    QVERIFY(m_host.call("account.queryWebviewCookies", R"({"url":"https://example.test/a b%"})")
                .contains("https://example.test/a b%"));
    QCOMPARE(m_host.argumentsOf("cookiesForUrl").last(),
             QByteArray("https://example.test/a%20b%25"));
    QCOMPARE(m_host.call("account.queryWebviewCookies", R"({"url":"::"})"),
             QByteArray(R"({"data":{"cookieList":[]},"msg":"success","result":"ok"})"));
    QCOMPARE(m_host.call("account.queryWebviewCookies"),
             QByteArray(R"({"data":{"cookieList":[]},"msg":"success","result":"ok"})"));
}

void tst_Account::signingIsWrapped()
{
    QVERIFY(m_host.start());
    QVERIFY(m_host.script("signPopToken", R"({"text":"token"})"));
    QVERIFY(m_host.script("signLoginData", R"({"text":"\u00e9"})"));
    QVERIFY(m_host.script("getJwkPublicKeyStr", R"({"text":""})"));

    const auto wrapped = [](const QByteArray &data) {
        return R"({"data":{"data":)" + data + R"(,"result":"ok"},"msg":"success","result":"ok"})";
    };
    QCOMPARE(m_host.call("account.signPopToken", R"({"method":"m","uri":"u","cv":"c"})"),
             wrapped(R"("token")"));
    QCOMPARE(m_host.call("account.signLoginData", R"({"signData":"\u00e9"})"),
             wrapped("\"\u00e9\""));
    QCOMPARE(m_host.call("account.getJwkPublicKeyStr"), wrapped("null"));

    const QJsonObject pair = dataOf(m_host.call("account.generatePKCEParam"), "data").toObject();
    QCOMPARE(pair.keys(), (QStringList{"code_challenge", "code_verifier"}));
    QVERIFY(pair.value("code_verifier").toString().size() >= 43);
}

void tst_Account::refusedSigningIsReported()
{
    QVERIFY(m_host.start());
    QCOMPARE(m_host.call("account.signPopToken"), failure("sign failed"));
    QCOMPARE(m_host.call("account.signLoginData"), failure("sign failed"));
    QVERIFY(m_host.script("generatePKCEParam", R"({"refuse":true})"));
    QCOMPARE(m_host.call("account.generatePKCEParam"), failure("generatePKCEParam failed"));
}

QTEST_APPLESS_MAIN(tst_Account)
#include "tst_account.moc"
