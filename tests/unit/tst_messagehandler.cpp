#include "dispatch/reply.h"
#include "dispatch/zmessagehandlerbase.h"
#include "support/rows.h"

#include <QtTest>

#include <stdexcept>
#include <thread>

/// A module with one method for each way in which a method can answer.
class AnsweringHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    AnsweringHandler() : ZMessageHandlerBase(nullptr, {"echo"}) {}

    CallBackFunc kept;

public Q_SLOTS:
    void echo(const QVariantMap &params, const CallBackFunc &callback)
    {
        replySuccess(callback, params);
    }
    void answerTwice(const QVariantMap &, const CallBackFunc &callback)
    {
        replyFail(callback, "first");
        replyFail(callback, "second");
    }
    void answerLater(const QVariantMap &, const CallBackFunc &callback) { kept = callback; }
    void fail(const QVariantMap &, const CallBackFunc &) { throw std::runtime_error("closed"); }
    void otherArguments(const QVariantMap &) {}
};

class tst_MessageHandler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // replies
    void repliesHaveOneShape();
    void emptyCompletionIsNotAnswered();

    // invocation
    void callAnswers_data();
    void callAnswers();
    void callTakesTheLastAnswer();
    void lateAnswerReachesNobody();
    void foreignThreadRunsOnlyListedMethods();
};

void tst_MessageHandler::repliesHaveOneShape()
{
    const QVariantMap data{{"key", 1}};
    QCOMPARE(buildResult(true, "success", data),
             (QVariantMap{{"result", "ok"}, {"msg", "success"}, {"data", data}}));
    QCOMPARE(buildResult(true, {}, {}), (QVariantMap{{"result", "ok"}}));
    QCOMPARE(buildFailResult("reason", data),
             (QVariantMap{{"result", "fail"}, {"msg", "reason"}, {"data", data}}));
    QCOMPARE(buildFailResult({}, {}), (QVariantMap{{"result", "fail"}, {"msg", "fail"}}));
}

void tst_MessageHandler::emptyCompletionIsNotAnswered()
{
    QVERIFY(!replySuccess({}, {}));
    QVERIFY(!replyFail({}, "reason"));

    bool isCalled = false;
    QVERIFY(
        !postReplyFail([&isCalled](const QVariantMap &) { isCalled = true; }, "no application"));
    QVERIFY(!isCalled);
}

void tst_MessageHandler::callAnswers_data()
{
    const auto row = columns<QString, QVariantMap>("method", "expected");

    const auto failed = [](const QString &message) {
        return QVariantMap{{"result", "fail"}, {"msg", message}};
    };
    const QVariantMap echoed{{"result", "ok"}, {"msg", "success"}, {"data", QVariantMap{{"a", 1}}}};
    row("answers", "echo", echoed);
    row("white space around the name", " echo ", echoed);
    row("does not answer", "answerLater", QVariantMap());
    row("throws", "fail", failed("method:fail call failed"));
    row("unknown", "nothing", failed("method:nothing call failed"));
    row("empty", "", failed("method: call failed"));
    row("other case", "Echo", failed("method:Echo call failed"));
    row("other arguments", "otherArguments", failed("method:otherArguments call failed"));
    row("no module method", "deleteLater", failed("method:deleteLater call failed"));
    row("with arguments", "echo(QVariantMap,CallBackFunc)",
        failed("method:echo(QVariantMap,CallBackFunc) call failed"));
    row("place holder", "%1%2", failed("method:%1%2 call failed"));
    row("beyond Latin-1", QString::fromUtf8("ech\u043e"),
        failed(QString::fromUtf8("method:ech\u043e call failed")));
}

void tst_MessageHandler::callAnswers()
{
    QFETCH(QString, method);
    QFETCH(QVariantMap, expected);

    AnsweringHandler handler;
    QCOMPARE(handler.call(handler.method(method), {{"a", 1}}), expected);
}

void tst_MessageHandler::callTakesTheLastAnswer()
{
    AnsweringHandler handler;
    QCOMPARE(handler.call(handler.method("answerTwice"), {}).value("msg").toString(),
             QStringLiteral("second"));
}

void tst_MessageHandler::lateAnswerReachesNobody()
{
    AnsweringHandler handler;
    QCOMPARE(handler.call(handler.method("answerLater"), {}), QVariantMap());
    std::thread([late = std::move(handler.kept)] { late({{"late", true}}); }).join();
}

void tst_MessageHandler::foreignThreadRunsOnlyListedMethods()
{
    AnsweringHandler handler;
    QVariantMap listed;
    QVariantMap unlisted;
    QVariantMap spaced;
    std::thread([&] {
        listed = handler.call(handler.method("echo"), {});
        unlisted = handler.call(handler.method("answerTwice"), {});
        spaced = handler.call(handler.method("echo "), {});
    }).join();

    QCOMPARE(listed.value("result").toString(), QStringLiteral("ok"));
    QCOMPARE(unlisted.value("msg").toString(),
             QStringLiteral("method:answerTwice not support thread safe"));
    QCOMPARE(spaced.value("msg").toString(),
             QStringLiteral("method:echo  not support thread safe"));
}

QTEST_APPLESS_MAIN(tst_MessageHandler)
#include "tst_messagehandler.moc"
