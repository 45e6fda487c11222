#pragma once

#include "base/callbackfunc.h"

/// \file
/// The signing methods of the account module. The account library signs; data on success is
/// {"result":"ok", "data": its output}. Thread: any.

void replyPublicKey(const CallBackFunc &callback);
void replyPopToken(const QVariantMap &params, const CallBackFunc &callback);
void replyLoginSignature(const QVariantMap &params, const CallBackFunc &callback);
void replyPkcePair(const CallBackFunc &callback);
