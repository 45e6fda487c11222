#pragma once

#include "base/callbackfunc.h"
#include "json/jsontext.h"

#include <QString>

/// The shape of every reply: "result" is "ok" or "fail"; "msg" is omitted when empty; "data" is a
/// map and omitted when empty.
QVariantMap buildResult(bool success, const QString &message, const QVariantMap &data);

/// A "fail" reply; an empty message becomes "fail".
QVariantMap buildFailResult(const QString &message, const QVariantMap &data);

/// Replies "ok" with the data, as a map or as the text of one, or "fail" with the message.
/// \return false when the completion function is empty.
bool replySuccess(const CallBackFunc &callback, const QVariantMap &data);
bool replyJson(const CallBackFunc &callback, const JsonText &data);
bool replyFail(const CallBackFunc &callback, const QString &message);

/// A completion function that remembers whether it has been called, together with its copies. Empty
/// when \p callback is.
CallBackFunc remembering(const CallBackFunc &callback);

/// Replies "fail", unless the completion function remembers an earlier reply.
/// \return whether it replied.
bool replyFailUnlessAnswered(const CallBackFunc &callback, const QString &message);

/// Queues replyFail, with copies of both arguments, to the host thread.
/// \return false when no application is running.
bool postReplyFail(const CallBackFunc &callback, const QString &message);
