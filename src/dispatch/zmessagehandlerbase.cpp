#include "dispatch/zmessagehandlerbase.h"

#include "dispatch/reply.h"
#include "log/guarded.h"
#include "log/logline.h"

#include <QMetaMethod>
#include <QThread>

#include <memory>
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

QVariantMap ZMessageHandlerBase::call(const QString &method, const QVariantMap &params)
{
    if (QThread::currentThread() != thread() && !isThreadSafeMethod(method)) {
        return buildFailResult(QStringLiteral("method:%1 not support thread safe").arg(method), {});
    }

    const auto failed = [&method] {
        return buildFailResult(QStringLiteral("method:%1 call failed").arg(method), {});
    };
    const int index = slotIndex(method);
    if (index < 0) {
        return failed();
    }
    const auto holder = std::make_shared<ResultHolder>();
    return guarded(
        [&] {
            runSlot(index, params, [holder](const QVariantMap &reply) { holder->set(reply); });
            return holder->get().value_or(QVariantMap());
        },
        [&] {
            logError("call", "exception from method:%1", {method});
            const std::optional<QVariantMap> reply = holder->get();
            return reply ? *reply : failed();
        });
}

bool ZMessageHandlerBase::asynCall(const QString &method, const QVariantMap &params,
                                   const CallBackFunc &callback)
{
    const auto failure = [](const QString &name) {
        return QStringLiteral("method:%1 asynCall failed").arg(name);
    };
    const int index = slotIndex(method);
    if (index < 0) {
        return postReplyFail(callback, failure(method));
    }
    const auto run = [this, index, method, params, callback = remembering(callback), failure] {
        guarded([&] { runSlot(index, params, callback); },
                [&] {
                    logError("asynCall", "exception from method:%1", {method});
                    replyFailUnlessAnswered(callback, failure(method));
                });
    };
    return QMetaObject::invokeMethod(this, run, Qt::QueuedConnection) ||
           postReplyFail(callback, failure(method));
}

bool ZMessageHandlerBase::isThreadSafeMethod(const QString &method) const
{
    return m_threadSafeMethods.contains(method);
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

int ZMessageHandlerBase::slotIndex(const QString &method) const
{
    std::call_once(m_once, [this] {
        for (const QString &name : methods()) {
            m_slots.insert(name, metaObject()->indexOfMethod(name.toLatin1() + kArguments));
        }
    });
    const auto found = m_slots.constFind(method);
    if (found != m_slots.constEnd()) {
        return *found;
    }
    // As Qt's invocation by name, which ignores white space around the name. It is not used itself,
    // because it prints unknown names unchanged to the standard error.
    const QByteArray signature = method.toLatin1() + kArguments;
    return metaObject()->indexOfMethod(QMetaObject::normalizedSignature(signature));
}

void ZMessageHandlerBase::runSlot(int index, const QVariantMap &params,
                                  const CallBackFunc &callback)
{
    void *arguments[] = {nullptr, const_cast<QVariantMap *>(&params),
                         const_cast<CallBackFunc *>(&callback)};
    qt_metacall(QMetaObject::InvokeMetaMethod, index, arguments);
}
