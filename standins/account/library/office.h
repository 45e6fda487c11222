#pragma once

#include "account/iaccountsdk.h"
#include "keeper/script.h"

#include <mutex>

namespace zefstandin {

class Instance;

/// The office suite's side: answers the tasks on a worker of its own. Callable from any thread.
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

    QVariantMap settings() const;

    /// The last status that was reported; empty before the first.
    QVariantMap meetingStatus() const;

private:
    struct Task
    {
        QString name;
        QVariantMap params;
        TaskCallback completion;
        Script script;
        QVector<int> statuses; ///< all that are to be given; the last one comes with the reply
        QVariantMap reply;
    };
    using TaskPointer = std::shared_ptr<const Task>;

    TaskPointer makeTask(const QString &name, const QVariantMap &params,
                         const TaskCallback &completion, const Script &script);
    QVariantMap resultOf(const QString &name, const QVariantMap &params);
    QVariantMap meetingResult(const QVariantMap &params);
    void step(const TaskPointer &task, int index, bool isCancelled);
    void post(const TaskPointer &task, int index);

    Instance &m_instance;
    mutable std::mutex m_mutex; // guards everything below
    QVariantMap m_settings;
    QVariantMap m_meetingStatus;
};

} // namespace zefstandin
