#pragma once

#include <QVariantMap>

class QThread;

/// Starts the host thread and waits until its application has initialised itself.
///
/// \param settings the settings of the host.
/// \param result   set to whether the application initialised completely.
/// \return the running thread, which the caller waits for and deletes; null when it did not start.
QThread *startHostThread(const QVariantMap &settings, bool &result);
