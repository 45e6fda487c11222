// Any message of the office suite, and any answer to what it was asked: only the promised task
// messages and replies reach the host, each once.

#include "input.h"
#include "runninglibrary.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

using zefstandin::MessageContext;
using zefstandin::Thread;
using zelectronframeworkspace::IElectronCallback;

namespace {

// Collect registrations and held answers pile up in one run.
constexpr int kInputsPerRun = 5000;

const char *const kTypes[] = {"enterMeeting", "getMeetingStatus", "closeMeetingApp"};
const char *const kKeys[] = {"msgType",    "meetingUrl", "accessCode", "logoutAccount",
                             "taskResult", "bResult",    "reason",     "data"};
const int kStatuses[] = {std::numeric_limits<int>::min(), -1, 0, 99, 100, 101, 102,
                         std::numeric_limits<int>::max()};
const MessageContext kContexts[] = {MessageContext::alive, MessageContext::gone,
                                    MessageContext::empty, MessageContext::nullObject};

/// Keeps the last delivery.
class Recorder final : public IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t) override
    {
        ++count;
        object = QJsonDocument::fromJson(text).object();
        require(!object.isEmpty(), "no JSON object", text);
    }

    int count = 0;
    QJsonObject object;
};

QJsonValue value(Input &input, int depth);

QJsonObject object(Input &input, int depth)
{
    QJsonObject object;
    for (int left = input.below(8); left > 0; --left) {
        const QString key =
            input.below(4) ? QString(input.pick(kKeys)) : QString::fromStdString(input.text());
        object.insert(key, value(input, depth + 1));
    }
    return object;
}

QJsonValue value(Input &input, int depth)
{
    switch (depth > 4 ? input.below(6) : input.below(8)) {
    case 0:
        return QJsonValue::Null;
    case 1:
        return input.below(2) == 1;
    case 2:
        return static_cast<double>(static_cast<std::int32_t>(input.number())) / 3;
    case 3:
        return QString(input.pick(kTypes));
    case 4:
    case 5:
        return QString::fromStdString(input.text());
    case 6:
        return QJsonArray{value(input, depth + 1), value(input, depth + 1)};
    default:
        return object(input, depth);
    }
}

std::string text(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

QString textOf(const QJsonObject &object, const char *key)
{
    return object.value(key).toVariant().toString();
}

QJsonObject task(const char *type, const QJsonObject &data)
{
    QJsonObject message{{"dataType", type}};
    if (!data.isEmpty()) {
        message.insert("data", data);
    }
    return message;
}

QJsonObject enterTask(const QJsonObject &source)
{
    return task("enterMeeting", {{"meetingUrl", textOf(source, "meetingUrl")},
                                 {"accessCode", textOf(source, "accessCode")}});
}

/// The task message that an office message stands for; empty for none.
QJsonObject taskOfMessage(const QJsonObject &message)
{
    const QString type = textOf(message, "msgType");
    if (type == "enterMeeting") {
        const bool isEmpty =
            textOf(message, "meetingUrl").isEmpty() && textOf(message, "accessCode").isEmpty();
        return isEmpty ? QJsonObject() : enterTask(message);
    }
    if (type == "getMeetingStatus") {
        return task("getMeetingStatus", {});
    }
    if (type == "closeMeetingApp") {
        const bool logout = message.value("logoutAccount").toVariant().toBool();
        return task("closeMeetingApp", {{"logoutAccount", logout}});
    }
    return {};
}

bool isGranted(const QJsonObject &reply)
{
    return reply.value("taskResult").toObject().value("bResult").toVariant().toBool();
}

QJsonObject taskOfAnswer(int status, const QJsonObject &reply)
{
    if (status < 100 || status == 101 || !isGranted(reply)) {
        return {};
    }
    return enterTask(reply.value("taskResult").toObject());
}

QJsonObject replyToStatus(int status, const QJsonObject &reply)
{
    if (status < 100) {
        return {};
    }
    if (status == 101) {
        return {{"result", "fail"}, {"msg", "no office app"}};
    }
    return isGranted(reply) ? QJsonObject{{"result", "ok"}, {"msg", "success"}}
                            : QJsonObject{{"result", "fail"}, {"msg", "changeMeetingStatus fail"}};
}

/// Two answers are held for good: they can be given again and again.
class Office
{
public:
    Office()
    {
        m_library.start();
        auto &account = m_library.account();
        require(account.script("notifyOfficeMsg/enterMeeting", R"({"hold":true})"), "script");
        require(account.script("notifyOfficeMsg/getMeetingStatus", R"({"hold":true})"), "script");
        require(m_library.framework().registerCallbackFunc("meetingDataChangeTask", &m_tasks),
                "not registered");
        require(m_library.framework().asynCall("meeting.changeMeetingStatus",
                                               R"({"event":"e","busyType":"b","data":{"a":1}})",
                                               &m_reply),
                "not queued");
        while (account.held().size() < 2) {}
        for (const zefstandin::HeldAnswer &held : account.held()) {
            const bool isEnter = held.params.find("enterMeeting") != std::string::npos;
            (isEnter ? m_enter : m_status) = held.id;
        }
    }

    ~Office() { m_library.stop(); }
    Office(const Office &) = delete;
    Office &operator=(const Office &) = delete;

    void message(Input &input)
    {
        const MessageContext context = input.pick(kContexts);
        const QJsonObject message = object(input, 0);
        const QJsonObject expected =
            context == MessageContext::alive ? taskOfMessage(message) : QJsonObject();
        const int taken = m_library.account().sendMessage(text(message), Thread::caller, context);
        require(taken == (expected.isEmpty() ? 0 : 1), "taken or not", text(message));
        verify(m_tasks, expected, text(message));
    }

    void answer(Input &input)
    {
        const bool isEnter = input.below(2);
        const int status =
            input.below(4) ? input.pick(kStatuses) : static_cast<int>(input.number());
        const QJsonObject reply = object(input, 0);
        require(m_library.account().answerHeld(isEnter ? m_enter : m_status, Thread::caller, status,
                                               text(reply), true),
                "nothing is held");
        if (isEnter) {
            verify(m_tasks, taskOfAnswer(status, reply), text(reply));
        } else {
            verify(m_reply, replyToStatus(status, reply), text(reply));
        }
    }

private:
    static void verify(Recorder &recorder, const QJsonObject &expected, const std::string &cause)
    {
        require(recorder.count == (expected.isEmpty() ? 0 : 1), "deliveries", cause);
        require(expected.isEmpty() || recorder.object == expected, "another delivery", cause);
        recorder.count = 0;
    }

    RunningLibrary &m_library = RunningLibrary::instance();
    Recorder m_tasks;
    Recorder m_reply;
    long m_enter = 0;
    long m_status = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Office *office = nullptr; // runs on at the end of the process
    static int inputs = 0;
    if (inputs++ % kInputsPerRun == 0) {
        delete office;
        office = new Office;
    }

    Input input(data, size);
    while (!input.isAtEnd()) {
        if (input.below(2)) {
            office->message(input);
        } else {
            office->answer(input);
        }
    }
    return 0;
}
