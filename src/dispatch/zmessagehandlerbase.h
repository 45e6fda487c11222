#pragma once

#include "base/callbackfunc.h"

#include <QObject>
#include <QString>
#include <QStringList>

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

    /// The slot that a method name stands for.
    struct Method
    {
        QString name;
        int slot = -1; ///< none when there is no such method
        bool isThreadSafe = false;
    };
    Method method(const QString &name) const;

    /// Runs the method on the calling thread.
    /// \return the last reply that the method gave before it returned; an empty map without one.
    QVariantMap call(const Method &method, const QVariantMap &params);

    /// Queues the method, or a reply that names its failure, to the host thread.
    /// \return whether anything was queued.
    bool asynCall(const Method &method, const QVariantMap &params, const CallBackFunc &callback);

    const QStringList &threadSafeMethods() const { return m_threadSafeMethods; }

    /// The names of all module methods, in the order of their slots.
    QStringList methods() const;

private:
    void runSlot(int slot, const QVariantMap &params, const CallBackFunc &callback);

    const QStringList m_threadSafeMethods;
};
