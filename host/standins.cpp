#include "standins.h"

#include "../standins/account/control.h"
#include "../standins/log/control.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include <dlfcn.h>

namespace zefhost {

namespace {

constexpr const char *kLogLibrary = "libvemolog.so";
// Holds the control of the account stand-in, and unlike that one stays loaded.
constexpr const char *kAccountKeeper = "libzaccountkeeper.so";
constexpr std::size_t kShownErrors = 5;

template <typename Entry>
Entry symbolOf(void *library, const char *name)
{
    return library ? reinterpret_cast<Entry>(dlsym(library, name)) : nullptr;
}

zefstandin::LogControl *logControl(void *library)
{
    const auto entry = symbolOf<decltype(&zefLogStandinControl)>(library, "zefLogStandinControl");
    return entry ? entry() : nullptr;
}

zefstandin::LogControl *logControlBeside(const std::string &libraryFile)
{
    const auto path = std::filesystem::absolute(libraryFile).parent_path() / kLogLibrary;
    return logControl(dlopen(path.c_str(), RTLD_LAZY));
}

zefstandin::LogControl *loadedLogControl()
{
    return logControl(dlopen(kLogLibrary, RTLD_LAZY | RTLD_NOLOAD));
}

zefstandin::AccountControl *loadedAccountControl()
{
    const auto entry = symbolOf<decltype(&zefAccountStandinControl)>(
        dlopen(kAccountKeeper, RTLD_LAZY | RTLD_NOLOAD), "zefAccountStandinControl");
    return entry ? entry() : nullptr;
}

} // namespace

std::string redirectLog(const std::string &libraryFile, const std::string &folder)
{
    zefstandin::LogControl *control = logControlBeside(libraryFile);
    if (!control) {
        return std::string(kLogLibrary) +
               " is missing beside the library or is no stand-in, so --log-dir cannot be used";
    }
    control->setBaseDirectory(folder);
    return {};
}

void keepLog(const std::string &libraryFile, bool isKept)
{
    if (zefstandin::LogControl *control = logControlBeside(libraryFile)) {
        control->setRecording(isKept);
    }
}

bool printLog(Printer &printer)
{
    zefstandin::LogControl *control = loadedLogControl();
    if (!control) {
        return false;
    }
    for (const zefstandin::LogLine &line : control->lines()) {
        printer.logLine(utf8(line.level), utf8(line.module), utf8(line.message), line.threadId);
    }
    return true;
}

std::string lastLogErrors()
{
    zefstandin::LogControl *control = loadedLogControl();
    if (!control) {
        return {};
    }
    std::vector<std::string> errors;
    for (const zefstandin::LogLine &line : control->lines()) {
        if (line.level == L"Error") {
            errors.push_back(utf8(line.message));
        }
    }
    std::string text;
    const std::size_t skipped = errors.size() - std::min(errors.size(), kShownErrors);
    for (std::size_t i = skipped; i < errors.size(); ++i) {
        text += (text.empty() ? "" : "\n") + printable(errors[i]);
    }
    return text;
}

bool raiseEvent(const std::string &event)
{
    constexpr std::string_view kModule = "account.";
    const bool hasModule = event.compare(0, kModule.size(), kModule) == 0;
    zefstandin::AccountControl *control = loadedAccountControl();
    return control && control->raiseSignal(hasModule ? event.substr(kModule.size()) : event,
                                           zefstandin::Thread::library);
}

void waitForMock(int milliseconds)
{
    if (zefstandin::AccountControl *control = loadedAccountControl()) {
        control->waitUntilIdle(milliseconds);
    }
}

bool tellMock(const std::string &json)
{
    const auto command = symbolOf<decltype(&zefAccountStandinCommand)>(
        dlopen(kAccountKeeper, RTLD_LAZY | RTLD_NOLOAD), "zefAccountStandinCommand");
    const std::unique_ptr<char, decltype(&std::free)> answer(
        command ? command(json.c_str()) : nullptr, &std::free);
    std::string error;
    const std::optional<Json> state = parseObject(answer ? answer.get() : "", error);
    return state && !state->contains("error");
}

bool sendOfficeMessage(const std::string &json)
{
    zefstandin::AccountControl *control = loadedAccountControl();
    return control && control->sendMessage(json, zefstandin::Thread::library,
                                           zefstandin::MessageContext::alive) > 0;
}

} // namespace zefhost
