#pragma once

#include "control.h"

#include "account/iaccountsdk.h"

#include <map>
#include <mutex>
#include <optional>

namespace zefstandin {

/// An answer as it would be given. One of the two completions is set.
struct PlannedAnswer
{
    QString name;
    QVariantMap params;
    CallBackFunc completion;
    TaskCallback task;
    int status = 100;
    QVariantMap reply;
};

/// The answers that scripts hold back. They contain only function objects of the caller, no code of
/// the stand-in.
class HeldAnswers
{
public:
    long add(const PlannedAnswer &answer);

    /// Takes the answer out; with \p keep a copy stays.
    std::optional<PlannedAnswer> take(long id, bool keep);

    std::vector<HeldAnswer> list() const;
    void clear();

private:
    mutable std::mutex m_mutex; // guards both members
    long m_lastId = 0;
    std::map<long, PlannedAnswer> m_answers;
};

} // namespace zefstandin
