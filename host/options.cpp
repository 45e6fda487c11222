#include "options.h"

#include "library.h"
#include "printer.h"
#include "text.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace zefhost {

namespace {

constexpr int kUsageError = 2;

constexpr const char *kFooter = R"(
Exit code: 0 when every answer came and was as expected, 1 when one was not, 2 when the command
line was wrong or the framework could not be started.

A script holds one JSON object a line; empty lines and lines that begin with # are skipped:
  {"call":path, "params":{...}}    {"async":path, "params":{...}}    and "expect":"fail" if it should
  {"listen":event}  {"unlisten":event}  {"task":type}  {"note":text}
  {"wait":{"event":name}}  {"wait":{"task":name}}  {"wait":{"answers":true}}  and "timeoutMs":number
  {"raise":event}  {"office":{message}}  {"mock":{command}}    with the stand-in of the account
  library only
A recording of zelectronframework-inspector is such a script as well: it brings its settings, and
deliveries are compared with its lines {"got":...}.)";

/// What the parser fills in before it becomes commands.
struct Raw
{
    std::string path;
    std::string json;
    std::vector<std::string> names;
    double forSeconds = 0;
    double timeout = 10;
    std::string script;
};

std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
}

/// An error text for the parser, empty when the text is one JSON object.
std::string checkObject(const std::string &text)
{
    std::string error;
    return parseObject(text, error) ? "" : error;
}

void addGlobals(CLI::App &app, Options &options, Raw &raw)
{
    app.add_option("--library", options.library, "the library; default: ../lib beside this program")
        ->type_name("FILE");
    app.add_option("--settings", options.settings, "file with the JSON object for init")
        ->type_name("FILE");
    app.add_option("--log-dir", options.logFolder, "where the log stand-in writes its files")
        ->type_name("DIR");
    app.add_flag("--json", options.asJson, "print one JSON object a line");
    app.add_flag("--show-log", options.showLog, "print the log lines of the run at its end");
    app.add_option("--timeout", raw.timeout, "how long to wait for an answer; default: 10")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 86400.0));
}

CLI::App *addRequest(CLI::App &app, const char *name, const char *what, Raw &raw)
{
    CLI::App *command = app.add_subcommand(name, what);
    command->add_option("method", raw.path, "module.method, for example utils.getLogPath")
        ->type_name("PATH")
        ->required();
    command->add_option("json", raw.json, "parameters, one JSON object")
        ->type_name("JSON")
        ->check(checkObject);
    return command;
}

CLI::App *addArrivals(CLI::App &app, const char *name, const char *what, const char *typeName,
                      Raw &raw)
{
    CLI::App *command = app.add_subcommand(name, what);
    command->add_option("names", raw.names, what)->type_name(typeName)->required();
    command->add_option("--for", raw.forSeconds, "how long; default: until interrupted")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 86400.0));
    return command;
}

std::vector<Command> arrivalCommands(Verb verb, const Raw &raw, bool isLimited)
{
    std::vector<Command> commands;
    for (const std::string &name : raw.names) {
        commands.push_back({verb, name, {}, false, {}});
    }
    commands.push_back({Verb::linger, {}, {}, false, {}});
    if (isLimited) {
        commands.back().limit = milliseconds(raw.forSeconds);
    }
    return commands;
}

/// Returns the exit code.
int refuse(const std::string &reason)
{
    complain(reason + "\nzefhost --help lists commands and options.");
    return kUsageError;
}

/// The parser's own texts go through here, since they quote the command line.
int printParserResult(const CLI::App &app, const CLI::ParseError &result)
{
    if (result.get_exit_code() == 0) {
        std::fputs((app.help() + "\n").c_str(), stdout);
        return 0;
    }
    return refuse(result.what());
}

/// Distinguishes the remaining arguments, because the parser reports each of them as a missing
/// command.
bool isComplete(const CLI::App &app, int &exitCode)
{
    const std::vector<std::string> rest = app.remaining(true);
    const bool hasCommand = !app.get_subcommands().empty();
    if (rest.empty() && hasCommand) {
        return true;
    }
    exitCode = rest.empty() ? refuse("a command is missing")
               : hasCommand ? refuse("unexpected argument: " + rest.front())
                            : refuse("unknown command: " + rest.front());
    return false;
}

} // namespace

bool readOptions(int count, char **arguments, Options &options, int &exitCode)
{
    CLI::App app("Loads libzelectronframework.so as an application does and talks to it.",
                 "zefhost");
    Raw raw;
    options.library = defaultLibrary();
    addGlobals(app, options, raw);
    app.footer(kFooter);
    app.fallthrough();
    CLI::App *call = addRequest(app, "call", "run one method on this thread", raw);
    CLI::App *async = addRequest(app, "async", "queue one method and wait for its answer", raw);
    CLI::App *listen = addArrivals(app, "listen", "print account events", "EVENT", raw);
    CLI::App *task = addArrivals(app, "task", "print the messages of task types", "TYPE", raw);
    CLI::App *run = app.add_subcommand("run", "carry out a script or a recording");
    run->add_option("script", raw.script, "file")->type_name("SCRIPT")->required();
    CLI::App *repl = app.add_subcommand("repl", "take commands from a prompt");
    CLI::App *libraries = app.add_subcommand(
        "libraries", "start, print which functions of the closed libraries were found, stop");

    app.require_subcommand(0, 1);
    app.allow_extras();

    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError &result) {
        exitCode = printParserResult(app, result);
        return false;
    }
    if (!isComplete(app, exitCode)) {
        return false;
    }

    options.limit = milliseconds(raw.timeout);
    options.isPrompt = repl->parsed();
    options.showLibraries = libraries->parsed();
    if (call->parsed()) {
        options.commands = {{Verb::call, raw.path, raw.json, false, {}}};
    } else if (async->parsed()) {
        options.commands = {{Verb::asynCall, raw.path, raw.json, false, {}}};
    } else if (listen->parsed()) {
        options.commands = arrivalCommands(Verb::listen, raw, listen->count("--for") > 0);
    } else if (task->parsed()) {
        options.commands = arrivalCommands(Verb::task, raw, task->count("--for") > 0);
    } else if (run->parsed()) {
        std::string error;
        const std::optional<Script> script = readScript(raw.script, error);
        if (!script) {
            complain(error);
            exitCode = kUsageError;
            return false;
        }
        options.commands = script->commands;
        options.recording = script->header;
    }
    return true;
}

} // namespace zefhost
