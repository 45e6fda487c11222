#pragma once

#include <QVariantMap>

#include <optional>

/// What settings, commands and scripts may name.
namespace zefstandin {

/// What can be scripted.
enum class Operation {
    step,    ///< of the start or the end of a run
    getter,  ///< returns a service
    query,   ///< of a service; answers by returning
    request, ///< of a service; answers later
    task     ///< of the office suite; answers later
};

/// \return nothing when there is no operation of that name.
std::optional<Operation> findOperation(const QString &name);

inline bool answersByReturning(Operation operation)
{
    return operation != Operation::request && operation != Operation::task;
}

/// Whether the settings' "standin" object may have the key.
bool isSettingsKey(const QString &key);

/// Whether zefAccountStandinCommand takes the key.
bool isCommandKey(const QString &key);

/// As AccountControl::vocabulary.
QVariantMap vocabulary();

} // namespace zefstandin
