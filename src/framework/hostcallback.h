#pragma once

#include "base/callbackfunc.h"
#include "json/jsonwriter.h"
#include "zelectronframework/zelectronframework.h"

class RunScope;

/// \file
/// Turns the host's callback objects into completion functions. Each holds only the raw pointer,
/// which may be null; none lets an exception of the host escape.

/// Delivers one text with its length to a callback that is not null, inside that operation.
void deliverReply(zelectronframeworkspace::IElectronCallback &callback, JsonWriter &text,
                  const RunScope &operation);

/// For asynCall: delivers the reply, then logs it. Refused once the framework was stopped.
CallBackFunc asynCallCompletion(zelectronframeworkspace::IElectronCallback *callback);

/// For addListener: delivers the event. Deleted with its subscription.
CallBackFunc listenerCompletion(zelectronframeworkspace::IElectronCallback *callback);

/// For registerCallbackFunc: delivers a task message. Refused once the framework was stopped.
CallBackFunc taskCompletion(zelectronframeworkspace::IElectronCallback *callback);
