#pragma once

#include "base/callbackfunc.h"

#include <QString>

/// The shape of every reply: "result" is "ok" or "fail"; "msg" is left out when empty; "data" is a
/// map and left out when empty.
QVariantMap buildResult(bool success, const QString &message, const QVariantMap &data);

/// A "fail" reply; an empty message becomes "fail".
QVariantMap buildFailResult(const QString &message, const QVariantMap &data);

/// Answers "ok" with the data, and "fail" with the message.
/// \return false when the completion function is empty: nobody is answered then.
bool replySuccess(const CallBackFunc &callback, const QVariantMap &data);
bool replyFail(const CallBackFunc &callback, const QString &message);

/// A completion function that remembers whether it has been called, together with its copies. Empty
/// when \p callback is.
CallBackFunc remembering(const CallBackFunc &callback);

/// Answers "fail", unless the completion function remembers an answer: what fails behind that is no
/// reply any more.
/// \return whether it was answered now.
bool replyFailUnlessAnswered(const CallBackFunc &callback, const QString &message);

/// Queues replyFail, with copies of both arguments, to the host thread.
/// \return false when no application is running: nobody is answered then.
bool postReplyFail(const CallBackFunc &callback, const QString &message);
