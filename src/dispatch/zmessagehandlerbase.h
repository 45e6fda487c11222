#pragma once

#include "dispatch/callbackfunc.h"

#include <QHash>
#include <QObject>
#include <QString>

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
    explicit ZMessageHandlerBase(QObject *parent);

    /// Runs the method on the calling thread.
    /// \return the last reply that the method gave before it returned; an empty map when it gave
    /// none.
    virtual QVariantMap call(const QString &method, const QVariantMap &params);

    /// Queues the method, or a reply that names its failure, to the host thread.
    /// \return whether anything was queued.
    virtual bool asynCall(const QString &method, const QVariantMap &params,
                          const CallBackFunc &callback);

    /// Whether call may run the method on another thread than the host thread.
    virtual bool isThreadSafeMethod(const QString &method) const;

private:
    int slotIndex(const QString &method) const;
    void runSlot(int index, const QVariantMap &params, const CallBackFunc &callback);

    // Module methods by name, found once: at the first call, under m_once, and only read
    // afterwards.
    mutable std::once_flag m_once;
    mutable QHash<QString, int> m_slots;
};
