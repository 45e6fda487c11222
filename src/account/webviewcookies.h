#pragma once

#include "base/callbackfunc.h"

/// Replies with the account library's cookies for "url": "cookieList" holds one JSON text per
/// cookie, shaped for a web view. Thread: any.
void replyWebviewCookies(const QVariantMap &params, const CallBackFunc &callback);
