#include "dispatch/reply.h"

#include "base/runningframework.h"

#include <QObject>

#include <atomic>
#include <memory>

namespace {

const auto kResult = QStringLiteral("result");
const auto kOk = QStringLiteral("ok");
const auto kFail = QStringLiteral("fail");
const auto kMessage = QStringLiteral("msg");
const auto kSuccess = QStringLiteral("success");
const auto kData = QStringLiteral("data");

class RememberingCallback
{
public:
    explicit RememberingCallback(const CallBackFunc &callback)
        : m_shared(std::make_shared<Shared>(callback))
    {
    }

    void operator()(const QVariantMap &reply) const
    {
        m_shared->isAnswered = true;
        m_shared->callback(reply);
    }

    bool isAnswered() const { return m_shared->isAnswered; }

private:
    struct Shared
    {
        explicit Shared(const CallBackFunc &wrapped) : callback(wrapped) {}

        const CallBackFunc callback;
        std::atomic<bool> isAnswered{false};
    };

    std::shared_ptr<Shared> m_shared;
};

/// \param data a map or a JsonText; invalid when there is none.
QVariantMap buildReply(bool success, const QString &message, const QVariant &data)
{
    // Inserted in key order, so that the map need not search.
    QVariantMap reply;
    if (data.isValid()) {
        reply.insert(reply.constEnd(), kData, data);
    }
    if (!message.isEmpty()) {
        reply.insert(reply.constEnd(), kMessage, message);
    }
    reply.insert(reply.constEnd(), kResult, success ? kOk : kFail);
    return reply;
}

bool replyWith(const CallBackFunc &callback, const QVariant &data)
{
    if (!callback) {
        return false;
    }
    callback(buildReply(true, kSuccess, data));
    return true;
}

} // namespace

QVariantMap buildResult(bool success, const QString &message, const QVariantMap &data)
{
    return buildReply(success, message, data.isEmpty() ? QVariant() : data);
}

QVariantMap buildFailResult(const QString &message, const QVariantMap &data)
{
    return buildResult(false, message.isEmpty() ? kFail : message, data);
}

bool replySuccess(const CallBackFunc &callback, const QVariantMap &data)
{
    return replyWith(callback, data.isEmpty() ? QVariant() : data);
}

bool replyJson(const CallBackFunc &callback, const JsonText &data)
{
    return replyWith(callback, data.toVariant());
}

bool replyFail(const CallBackFunc &callback, const QString &message)
{
    if (!callback) {
        return false;
    }
    callback(buildFailResult(message, {}));
    return true;
}

CallBackFunc remembering(const CallBackFunc &callback)
{
    return callback ? CallBackFunc(RememberingCallback(callback)) : CallBackFunc();
}

bool replyFailUnlessAnswered(const CallBackFunc &callback, const QString &message)
{
    const auto *remembering = callback.target<RememberingCallback>();
    return !(remembering && remembering->isAnswered()) && replyFail(callback, message);
}

bool postReplyFail(const CallBackFunc &callback, const QString &message)
{
    QObject *application = runningApplication();
    if (!application) {
        return false;
    }
    return QMetaObject::invokeMethod(
        application, [callback, message] { replyFail(callback, message); }, Qt::QueuedConnection);
}
