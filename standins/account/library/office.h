#pragma once

#include "account/iaccountsdk.h"
#include "keeper/keeper.h"

#include <mutex>

namespace zefstandin {

class Instance;

/// Simulates the office suite: answers tasks on its own worker. Callable from any thread.
class Office final : public IScheduler
{
public:
    explicit Office(Instance &instance) : m_instance(instance) {}

    void reserved0() override {}
    void reserved1() override {}
    bool submit(const QStringList &appIds, const QString &taskName, const QVariantMap &params,
                const QPointer<QObject> &context, const TaskCallback &completion) override;

    /// Takes "office" of a "standin" object; keys that are left out keep their values.
    void configure(const QVariantMap &standin);

    struct State
    {
        QVariantMap settings;
        QVariantMap meetingStatus; ///< the last one that was reported; empty before the first
    };
    State state() const;

private:
    struct Task
    {
        PlannedAnswer answer; ///< its reply comes with the last status
        Script script;
        QVector<int> statuses; ///< all that are to be given
    };
    using TaskPointer = std::shared_ptr<const Task>;

    TaskPointer makeTask(const QString &name, const QVariantMap &params,
                         const TaskCallback &completion, const Script &script);
    QVariantMap resultOf(const QString &name, const QVariantMap &params);
    QVariantMap meetingResult(const QVariantMap &params);
    void step(const TaskPointer &task, int index, bool isCancelled);
    void post(const TaskPointer &task, int index);

    Instance &m_instance;
    mutable std::mutex m_mutex; // guards m_state
    State m_state;
};

} // namespace zefstandin
