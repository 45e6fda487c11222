#pragma once

#include <QVariantMap>

class QObject;
class ZAccountSdkProxy;

/// \file
/// What lower floors need of the running application, which defines these functions.
///
/// Thread: any. Off the host thread only inside an operation of the host or a delivery: shutdown
/// waits for those before it deletes anything.

/// The object that work for the host thread is queued to; null when no framework is running.
QObject *runningApplication();

/// The settings that the host passed to init; empty when no framework is running.
QVariantMap runningSettings();

/// The binding of the account library; null when there is none.
ZAccountSdkProxy *runningAccountSdkProxy();
