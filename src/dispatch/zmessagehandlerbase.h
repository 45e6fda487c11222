#pragma once

#include "base/callbackfunc.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <mutex>

/// Base of the module handlers: runs a module method, which is a public slot with the arguments
/// (QVariantMap, CallBackFunc), by its name.
///
/// Handlers live on the host thread and belong to the dispatcher. call and asynCall may be entered
/// from any thread.
class ZMessageHandlerBase : public QObject
{
    Q_OBJECT

public:
    /// \param threadSafeMethods the methods that call may run on threads other than the host
    ///                          thread.
    ZMessageHandlerBase(QObject *parent, QStringList threadSafeMethods);

    /// Runs the method on the calling thread.
    /// \return the last reply that the method gave before it returned; an empty map without one.
    QVariantMap call(const QString &method, const QVariantMap &params);

    /// Queues the method, or a reply that names its failure, to the host thread.
    /// \return whether anything was queued.
    bool asynCall(const QString &method, const QVariantMap &params, const CallBackFunc &callback);

    bool isThreadSafeMethod(const QString &method) const;
    const QStringList &threadSafeMethods() const { return m_threadSafeMethods; }

    /// The names of all module methods, in the order of their slots.
    QStringList methods() const;

private:
    int slotIndex(const QString &method) const;
    void runSlot(int index, const QVariantMap &params, const CallBackFunc &callback);

    // Module methods by name, found once: at the first call, under m_once, and only read
    // afterwards.
    mutable std::once_flag m_once;
    mutable QHash<QString, int> m_slots;

    const QStringList m_threadSafeMethods;
};
