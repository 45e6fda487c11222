#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zefhost {

/// What a command does; command lines, scripts and the prompt are translated into these.
enum class Verb {
    call,
    asynCall,
    listen,
    unlisten,
    task,
    waitEvent,
    waitTask,
    waitAnswers,
    linger, ///< print deliveries for the given time or until interrupted
    raise,  ///< an event, through the stand-in of the account library
    office, ///< a message of the office suite, through the same
    mock,   ///< any other command to the stand-in of the account library
    expect, ///< a delivery that was recorded
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
    long id = -1;                                   ///< of a recorded call
    int line = 0;                                   ///< of the script
};

/// What is to be done, one after the other.
struct Script
{
    std::vector<Command> commands;
    std::string header; ///< first line of a recording, a JSON object; empty for an ordinary script
};

/// Reads a script: one JSON object a line; empty lines and lines that begin with "#" are skipped.
/// \param error receives "file:line: reason" when there is no result.
std::optional<Script> readScript(const std::string &path, std::string &error);

/// Reads one line of a script.
std::optional<Command> parseScriptLine(const std::string &line, std::string &error);

} // namespace zefhost
