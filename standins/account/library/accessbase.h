#pragma once

#include "account/iaccountsdk.h"

#include <mutex>

namespace zefstandin {

/// Describes the real machine. Callable from any thread.
class Accessbase final : public IAccessbaseService
{
public:
    QString getDeviceInfo() override;
    QString getDeviceNetworkStatus() override;
    QString getDeviceHeader(const QString &request) override;

    /// Takes "networkCheck" of a "standin" object.
    void configure(const QVariantMap &standin);

private:
    std::mutex m_mutex; // guards m_networkCheck
    QString m_networkCheck;
};

} // namespace zefstandin
