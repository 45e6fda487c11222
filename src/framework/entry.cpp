#include "framework/zelectronframework.h"

// Never destroyed: threads of the host may still call in while the process exits.
extern "C" __attribute__((visibility("default"))) zelectronframeworkspace::IElectronFramework *
createElectronFrameworkObject()
{
    static ZElectronFramework &framework = *new ZElectronFramework;
    return &framework;
}
