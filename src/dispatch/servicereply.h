#pragma once

#include "base/callbackfunc.h"

#include <QByteArray>
#include <QString>

/// Replies "ok" with the output of an account library's service, even if it is empty, as the data
/// {"data":output,"result":"ok"}. The inner "result" is part of the interface.
///
/// The data is written as text: as a map it would cost a tenth of the instructions of a call.
void replyOutput(const CallBackFunc &callback, const QString &output);
/// UTF-8. An empty output is a JSON null.
void replyOutput(const CallBackFunc &callback, const QByteArray &output);
void replyOutput(const CallBackFunc &callback, const QVariantMap &output);
