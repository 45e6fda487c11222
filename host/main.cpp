#include "closedlibraries.h"
#include "library.h"
#include "options.h"
#include "repl.h"
#include "standins.h"

#include <csignal>
#include <cstdio>
#include <memory>

/// \file
/// The command-line host: loads the library as the application does, runs the commands that it gets
/// and reports the results.

namespace {

using namespace zefhost;

constexpr int kNotAsExpected = 1;
constexpr int kStartFailure = 2;

/// The first interrupt ends the run in order; a second one ends the process.
void interruptInOrder()
{
    struct sigaction action
    {
    };
    action.sa_handler = [](int) { Session::interrupt(); };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // If the reader of a pipe exits, writing fails instead of ending the process.
    action.sa_handler = SIG_IGN;
    action.sa_flags = 0;
    sigaction(SIGPIPE, &action, nullptr);
}

Json recordingHeader(const std::string &text)
{
    std::string error;
    return parseObject(text, error).value_or(Json::object());
}

std::string startText()
{
    const std::string reasons = lastLogErrors();
    return "the framework refused the settings: init returned false.\n" +
           (reasons.empty() ? "The log gives no reason. The messages above may; "
                              "libzaccountlite.so has to be in the folder of the library."
                            : "From the log: " + reasons) +
           "\nexamples/settings.json shows settings that work.";
}

void carryOut(const Options &options, Session &session, Printer &printer)
{
    if (options.isPrompt) {
        runPrompt(session, printer);
    }
    for (const Command &command : options.commands) {
        if (Session::isInterrupted()) {
            break;
        }
        session.run(command);
    }
    session.finish();
}

/// Returns the exit code.
int runSession(const Options &options, Printer &printer)
{
    const std::string settings =
        options.recording.empty() || !options.settings.empty()
            ? settingsText(options.settings)
            : compact(recordingHeader(options.recording).value("settings", Json::object()));
    std::unique_ptr<ClosedLibraries> libraries;
    if (options.showLibraries) {
        libraries = std::make_unique<ClosedLibraries>();
    }
    auto *const framework = loadFramework(options.library);
    if (!options.logFolder.empty()) {
        const std::string error = redirectLog(options.library, options.logFolder);
        if (!error.empty()) {
            throw StartFailure(error);
        }
    }
    keepLog(options.library, true);
    Session session(*framework, printer, options.limit);
    if (!options.recording.empty()) {
        session.compareWith(
            std::make_unique<Replay>(recordingHeader(options.recording), options.commands));
    }
    const bool isStarted = session.start(settings);
    if (libraries) {
        libraries->print(printer);
        libraries.reset();
    }
    if (!isStarted) {
        complain(startText());
        session.finish();
        return kStartFailure;
    }
    keepLog(options.library, options.showLog || options.isPrompt);
    if (!options.recording.empty()) {
        session.beginReplay();
    }
    carryOut(options, session, printer);
    return session.wentAsExpected() ? 0 : kNotAsExpected;
}

int runHost(const Options &options)
{
    interruptInOrder();
    Printer printer(options.asJson);
    const int exitCode = runSession(options, printer);
    if (options.showLog && !printLog(printer)) {
        complain("--show-log: no stand-in of the log library is loaded");
    }
    if (std::ferror(stdout)) {
        complain("not everything could be printed");
        return exitCode == 0 ? kNotAsExpected : exitCode;
    }
    return exitCode;
}

} // namespace

int main(int count, char **arguments)
{
    try {
        Options options;
        int exitCode = 0;
        return readOptions(count, arguments, options, exitCode) ? runHost(options) : exitCode;
    } catch (const std::exception &failure) {
        complain(failure.what());
        return kStartFailure;
    }
}
