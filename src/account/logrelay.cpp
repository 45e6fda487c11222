#include "account/logrelay.h"

#include "base/run.h"
#include "log/zelectronlogproxy.h"

namespace {

class LogRelay final : public IZElectronLogProxy
{
public:
    void info(const std::wstring &module, const std::wstring &message) override
    {
        forward(&IZElectronLogProxy::info, module, message);
    }

    void warning(const std::wstring &module, const std::wstring &message) override
    {
        forward(&IZElectronLogProxy::warning, module, message);
    }

    void error(const std::wstring &module, const std::wstring &message) override
    {
        forward(&IZElectronLogProxy::error, module, message);
    }

private:
    using LevelOperation = void (IZElectronLogProxy::*)(const std::wstring &, const std::wstring &);

    static void forward(LevelOperation operation, const std::wstring &module,
                        const std::wstring &message)
    {
        const RunScope scope(Run::current());
        IZElectronLogProxy *logProxy = scope ? g_logProxy.load() : nullptr;
        if (logProxy) {
            (logProxy->*operation)(module, message);
        }
    }
};

} // namespace

IZElectronLogProxy *logRelay()
{
    static LogRelay &relay = *new LogRelay;
    return g_logProxy ? &relay : nullptr;
}
