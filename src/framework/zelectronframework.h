#pragma once

#include "framework/hostthread.h"
#include "zelectronframework/zelectronframework.h"

#include <memory>

/// The one framework object: checks each operation at the boundary and owns the host thread.
///
/// Its destructor stops nothing: a process may end while the host thread runs.
class ZElectronFramework final : public zelectronframeworkspace::IElectronFramework
{
public:
    bool init(const char *settings) override;
    bool uninit() override;
    bool call(const char *method, const char *params,
              zelectronframeworkspace::IElectronCallback *callback) override;
    bool asynCall(const char *method, const char *params,
                  zelectronframeworkspace::IElectronCallback *callback) override;
    zelectronframeworkspace::ListenerHandle
    addListener(const char *eventName,
                zelectronframeworkspace::IElectronCallback *callback) override;
    void removeListener(zelectronframeworkspace::ListenerHandle handle) override;
    bool registerCallbackFunc(const char *typeName,
                              zelectronframeworkspace::IElectronCallback *callback) override;

private:
    std::unique_ptr<HostThread> m_hostThread;
};
