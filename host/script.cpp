#include "command.h"
#include "text.h"

#include <array>
#include <set>
#include <sstream>

namespace zefhost {

namespace {

struct Action
{
    const char *key;
    Verb verb;
};

constexpr std::array<Action, 12> kActions{{{"call", Verb::call},
                                           {"async", Verb::asynCall},
                                           {"listen", Verb::listen},
                                           {"unlisten", Verb::unlisten},
                                           {"task", Verb::task},
                                           {"wait", Verb::waitAnswers},
                                           {"raise", Verb::raise},
                                           {"office", Verb::office},
                                           {"note", Verb::note},
                                           {"mock", Verb::mock},
                                           {"got", Verb::expect},
                                           {"gap", Verb::note}}};

bool hasReply(Verb verb)
{
    return verb == Verb::call || verb == Verb::asynCall;
}

bool isWait(Verb verb)
{
    return verb == Verb::waitAnswers || verb == Verb::waitEvent || verb == Verb::waitTask;
}

bool mayBeExpectedToFail(Verb verb)
{
    return hasReply(verb) || verb == Verb::listen || verb == Verb::task;
}

/// Fills in the one key that says what to do.
bool readAction(const Json &line, Command &command, std::string &error)
{
    const char *found = nullptr;
    for (const Action &action : kActions) {
        if (!line.contains(action.key)) {
            continue;
        }
        if (found) {
            error = std::string("both \"") + found + "\" and \"" + action.key + "\"";
            return false;
        }
        found = action.key;
        command.verb = action.verb;
    }
    if (!found) {
        error = "nothing to do: one of call, async, listen, unlisten, task, wait, raise, office, "
                "mock, got, note is needed";
    }
    return found;
}

bool readName(const Json &value, const std::string &key, Command &command, std::string &error)
{
    if (!value.is_string()) {
        error = '"' + key + "\" needs a text";
        return false;
    }
    command.name = value.get<std::string>();
    if (command.name.find('\0') != std::string::npos) {
        error = '"' + key + "\" holds a NUL character";
        return false;
    }
    return true;
}

bool readWait(const Json &what, Command &command, std::string &error)
{
    if (what.is_object() && what.size() == 1) {
        if (what.contains("event")) {
            command.verb = Verb::waitEvent;
            return readName(what["event"], "event", command, error);
        }
        if (what.contains("task")) {
            command.verb = Verb::waitTask;
            return readName(what["task"], "task", command, error);
        }
        if (what.value("answers", Json()) == Json(true)) {
            return true;
        }
    }
    error = R"("wait" needs {"event":name}, {"task":name} or {"answers":true})";
    return false;
}

bool readOption(const std::string &key, const Json &value, Command &command, std::string &error)
{
    if (key == "params" && hasReply(command.verb)) {
        command.json = compact(value);
        error = value.is_object() ? "" : "\"params\" needs an object";
    } else if (key == "expect" && mayBeExpectedToFail(command.verb)) {
        command.failExpected = value == Json("fail");
        error = command.failExpected || value == Json("ok") ? "" : R"("expect" is "ok" or "fail")";
    } else if (key == "id" && hasReply(command.verb)) {
        error = value.is_number_unsigned() ? "" : "\"id\" is a number";
        command.id = error.empty() ? value.get<long>() : -1;
    } else if (key == "at" || key == "thread" || key == "why") {
        error.clear(); // of a recording, for its readers
    } else if (key == "timeoutMs" && isWait(command.verb)) {
        const bool isTime = value.is_number_unsigned() && value <= 86400000;
        error = isTime ? "" : "\"timeoutMs\" is a number from 0 to 86400000";
        command.limit = std::chrono::milliseconds(isTime ? value.get<int>() : 0);
    } else {
        error = "unexpected key \"" + key + '"';
    }
    return error.empty();
}

bool isAction(const std::string &key)
{
    for (const Action &action : kActions) {
        if (key == action.key) {
            return true;
        }
    }
    return false;
}

/// Fills in what the action is done to.
bool readSubject(const std::string &key, const Json &value, Command &command, std::string &error)
{
    if (command.verb == Verb::waitAnswers) {
        return readWait(value, command, error);
    }
    if (key == "gap") {
        command.name = compact(value) + " entries are missing here";
        return true;
    }
    const bool takesObject =
        command.verb == Verb::office || command.verb == Verb::mock || command.verb == Verb::expect;
    if (!takesObject) {
        return readName(value, key, command, error);
    }
    if (!value.is_object()) {
        error = '"' + key + "\" needs an object";
        return false;
    }
    command.json = compact(value);
    command.name = textOf(value.value("msgType", Json("")));
    return true;
}

} // namespace

std::optional<Command> parseScriptLine(const std::string &line, std::string &error)
{
    const std::optional<Json> object = parseObject(line, error);
    Command command;
    if (!object || !readAction(*object, command, error)) {
        return std::nullopt;
    }
    for (const auto &[key, value] : object->items()) {
        const bool wasRead = isAction(key) ? readSubject(key, value, command, error)
                                           : readOption(key, value, command, error);
        if (!wasRead) {
            return std::nullopt;
        }
    }
    return command;
}

namespace {

/// Whether a line is the first one of a recording. \param error says why it cannot be replayed.
bool isHeader(const std::string &line, std::string &error)
{
    std::string reason;
    const Json header = parseJson(line, reason).value_or(Json());
    if (!header.is_object() || !header.contains("recording")) {
        return false;
    }
    if (header["recording"] != 1) {
        error = "a recording of a kind that is not known";
    } else if (header.value("libraries", Json()) != "mock") {
        error = "recorded with the real libraries: zelectronframework-inspector convert makes one "
                "for the mock of it";
    }
    return true;
}

/// What only a script can have: a recording waits for what it got, and subscribes by itself.
bool isForScripts(const Command &command)
{
    return isWait(command.verb) || command.verb == Verb::unlisten || command.failExpected;
}

/// Whether a line may stand where it does. \param error says why not.
bool mayFollow(const Script &script, const Command &command, std::set<long> &ids,
               std::string &error)
{
    if (script.header.empty()) {
        error = command.verb == Verb::expect ? "\"got\" needs the first line of a recording" : "";
    } else if (isForScripts(command)) {
        error = "not in a recording";
    } else if (command.id >= 0 && !ids.insert(command.id).second) {
        error = "another call has the id " + std::to_string(command.id);
    }
    return error.empty();
}

} // namespace

std::optional<Script> readScript(const std::string &path, std::string &error)
{
    const std::optional<std::string> content = readFile(path, error);
    if (!content) {
        error.insert(0, path + ": ");
        return std::nullopt;
    }
    Script script;
    std::set<long> ids; // of the calls
    std::istringstream stream(*content);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        const bool isFirst = script.header.empty() && script.commands.empty();
        if (isFirst && isHeader(line, error) && error.empty()) {
            script.header = line;
            continue;
        }
        std::optional<Command> command =
            error.empty() ? parseScriptLine(line, error) : std::nullopt;
        if (!command || !mayFollow(script, *command, ids, error)) {
            error.insert(0, path + ':' + std::to_string(number) + ": ");
            return std::nullopt;
        }
        command->line = number;
        script.commands.push_back(std::move(*command));
    }
    return script;
}

} // namespace zefhost
