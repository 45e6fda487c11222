#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zefhost {

/// What a command does; command lines, scripts and the prompt all come down to these.
enum class Verb {
    call,
    asynCall,
    listen,
    unlisten,
    task,
    waitEvent,
    waitTask,
    waitAnswers,
    linger, ///< take in what arrives, for the given time or until interrupted
    raise,  ///< an event, through the stand-in of the account library
    office, ///< a message of the office suite, through the same
    note    ///< print the text
};

/// One thing to do.
struct Command
{
    Verb verb = Verb::note;
    std::string name; ///< method path, event path, task type or the text of a note
    std::string json; ///< parameters or message: text of one JSON object
    bool failExpected = false;
    std::optional<std::chrono::milliseconds> limit; ///< of a wait; the session's when absent
};

/// Reads a script: one JSON object a line; empty lines and lines that begin with "#" are skipped.
/// \param error receives "file:line: reason" when there is no result.
std::optional<std::vector<Command>> readScript(const std::string &path, std::string &error);

/// Reads one line of a script.
std::optional<Command> parseScriptLine(const std::string &line, std::string &error);

} // namespace zefhost
