#include "dispatch/zmessagehandlerbase.h"

#include "base/runningframework.h"
#include "dispatch/reply.h"
#include "log/guarded.h"
#include "log/logline.h"

#include <QMetaMethod>
#include <QPointer>
#include <QThread>

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace {

const char kArguments[] = "(QVariantMap,CallBackFunc)";

/// The reply of a call in progress. A closed library may keep the completion function and call it
/// later, on any thread, when nobody reads the reply any more.
class ResultHolder
{
public:
    void set(const QVariantMap &reply)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_reply = reply;
    }

    std::optional<QVariantMap> get() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_reply;
    }

private:
    mutable std::mutex m_mutex; // guards m_reply
    std::optional<QVariantMap> m_reply;
};

} // namespace

ZMessageHandlerBase::ZMessageHandlerBase(QObject *parent, QStringList threadSafeMethods)
    : QObject(parent), m_threadSafeMethods(std::move(threadSafeMethods))
{
    qRegisterMetaType<CallBackFunc>("CallBackFunc");
}

ZMessageHandlerBase::Method ZMessageHandlerBase::method(const QString &name) const
{
    // As Qt's invocation by name, which ignores white space around the name. It is not used itself,
    // because it prints unknown names unchanged to the standard error.
    const QByteArray signature = QMetaObject::normalizedSignature(name.toLatin1() + kArguments);
    return {name, metaObject()->indexOfMethod(signature), m_threadSafeMethods.contains(name)};
}

QVariantMap ZMessageHandlerBase::call(const Method &method, const QVariantMap &params)
{
    if (!method.isThreadSafe && QThread::currentThread() != thread()) {
        return buildFailResult(QStringLiteral("method:%1 not support thread safe").arg(method.name),
                               {});
    }

    const auto failed = [&method] {
        return buildFailResult(QStringLiteral("method:%1 call failed").arg(method.name), {});
    };
    if (method.slot < 0) {
        return failed();
    }
    const auto holder = std::make_shared<ResultHolder>();
    return guarded(
        [&] {
            runSlot(method.slot, params,
                    [holder](const QVariantMap &reply) { holder->set(reply); });
            return holder->get().value_or(QVariantMap());
        },
        [&] {
            logError("call", "exception from method:%1", {method.name});
            const std::optional<QVariantMap> reply = holder->get();
            return reply ? *reply : failed();
        });
}

bool ZMessageHandlerBase::asynCall(const Method &method, const QVariantMap &params,
                                   const CallBackFunc &callback)
{
    const auto failure = [](const QString &name) {
        return QStringLiteral("method:%1 asynCall failed").arg(name);
    };
    QObject *application = runningApplication();
    if (method.slot < 0 || !application) {
        return postReplyFail(callback, failure(method.name));
    }
    // Queued to the application, because the account library may destroy this object.
    const auto run = [self = QPointer<ZMessageHandlerBase>(this), method, params,
                      callback = remembering(callback), failure] {
        guarded(
            [&] {
                if (self) {
                    self->runSlot(method.slot, params, callback);
                } else {
                    replyFail(callback, failure(method.name));
                }
            },
            [&] {
                logError("asynCall", "exception from method:%1", {method.name});
                replyFailUnlessAnswered(callback, failure(method.name));
            });
    };
    return QMetaObject::invokeMethod(application, run, Qt::QueuedConnection) ||
           postReplyFail(callback, failure(method.name));
}

QStringList ZMessageHandlerBase::methods() const
{
    QStringList names;
    for (int index = 0; index < metaObject()->methodCount(); ++index) {
        const QMetaMethod slot = metaObject()->method(index);
        if (slot.methodSignature() == slot.name() + kArguments) {
            names.append(QString::fromLatin1(slot.name()));
        }
    }
    return names;
}

void ZMessageHandlerBase::runSlot(int slot, const QVariantMap &params, const CallBackFunc &callback)
{
    void *arguments[] = {nullptr, const_cast<QVariantMap *>(&params),
                         const_cast<CallBackFunc *>(&callback)};
    qt_metacall(QMetaObject::InvokeMetaMethod, slot, arguments);
}
