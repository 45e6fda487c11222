#include "repl.h"

#include "names.h"
#include "standins.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <editline/readline.h>
#include <unistd.h>

namespace zefhost {

namespace {

struct Word
{
    const char *text;
    Verb verb;
    const char *usage;
};

constexpr std::array<Word, 7> kWords{{
    {"call", Verb::call, "call PATH [JSON]      run a method on this thread"},
    {"async", Verb::asynCall, "async PATH [JSON]     queue a method and wait for its answer"},
    {"listen", Verb::listen, "listen EVENT          print an event whenever it comes"},
    {"unlisten", Verb::unlisten, "unlisten EVENT        stop that"},
    {"task", Verb::task, "task TYPE             print the messages of a task type"},
    {"raise", Verb::raise, "raise EVENT           raise an event (account stand-in)"},
    {"office", Verb::office, "office JSON           send a message of the office suite (stand-in)"},
}};

void printHelp()
{
    for (const Word &word : kWords) {
        std::printf("  %s\n", word.usage);
    }
    std::puts("  methods               list the methods\n"
              "  help PATH             say what a method takes\n"
              "  log                   print the log lines so far\n"
              "  help, quit");
}

void printMethods()
{
    for (const Method &method : methods()) {
        std::printf("  %-34s %-13s  %s\n", method.path.c_str(),
                    method.isThreadSafe ? "call or async" : "async only", method.summary.c_str());
    }
}

std::string trimmed(const std::string &text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    const std::size_t last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

/// Cuts the first word off the text.
std::string takeWord(std::string &text)
{
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    std::string word = text.substr(0, end);
    text = trimmed(text.substr(end));
    return word;
}

/// Reads the rest of a line behind its first word.
bool readArguments(std::string rest, Command &command, std::string &error)
{
    if (command.verb != Verb::office) {
        command.name = takeWord(rest);
        if (command.name.empty()) {
            error = "a name is missing; help shows how";
            return false;
        }
    }
    const bool takesJson = command.verb == Verb::call || command.verb == Verb::asynCall ||
                           command.verb == Verb::office;
    if (!takesJson && !rest.empty()) {
        error = "too much: " + rest;
        return false;
    }
    command.json = rest;
    const bool mayBeEmpty = command.verb != Verb::office;
    return (mayBeEmpty && rest.empty()) || parseObject(rest, error);
}

void carryOut(const std::string &verb, const std::string &rest, Session &session)
{
    const auto *const word = std::find_if(
        kWords.begin(), kWords.end(), [&verb](const Word &known) { return verb == known.text; });
    if (word == kWords.end()) {
        complain("unknown command " + verb + "; help lists the commands");
        return;
    }
    Command command;
    command.verb = word->verb;
    std::string error;
    if (!readArguments(rest, command, error)) {
        complain(verb + ": " + error);
        return;
    }
    session.run(command);
    if (command.verb == Verb::asynCall) {
        session.run({Verb::waitAnswers, {}, {}, false, {}});
    }
}

/// False when the line ends the prompt.
bool handleLine(const std::string &line, Session &session, Printer &printer)
{
    std::string rest = trimmed(line);
    const std::string verb = takeWord(rest);
    if (verb == "quit" || verb == "exit") {
        return false;
    }
    if (verb == "help" && !rest.empty()) {
        const std::string help = methodHelp(rest);
        help.empty() ? complain("unknown method " + rest) : void(std::fputs(help.c_str(), stdout));
    } else if (verb == "help") {
        printHelp();
    } else if (verb == "methods") {
        printMethods();
    } else if (verb == "log") {
        if (!printLog(printer)) {
            complain("the log cannot be read: no stand-in of the log library is loaded");
        }
    } else if (!verb.empty()) {
        carryOut(verb, rest, session);
    }
    return true;
}

/// The names that may stand where the cursor is.
std::vector<std::string> candidates(const std::string &lineBefore)
{
    std::string rest = lineBefore;
    rest.erase(0, rest.find_first_not_of(" \t"));
    std::vector<std::string> names;
    if (rest.find_first_of(" \t") == std::string::npos) {
        for (const Word &word : kWords) {
            names.emplace_back(word.text);
        }
        names.insert(names.end(), {"methods", "log", "help", "quit"});
        return names;
    }
    const std::string verb = takeWord(rest);
    if (verb == "task") {
        return taskTypes();
    }
    if (verb == "listen" || verb == "unlisten" || verb == "raise") {
        return eventPaths();
    }
    for (const Method &method : methods()) {
        // call would refuse the others on this thread.
        if (verb == "async" || verb == "help" || (verb == "call" && method.isThreadSafe)) {
            names.emplace_back(method.path);
        }
    }
    return names;
}

/// The line editor calls this with an increasing index until it returns null.
char *nextCandidate(const char *start, int index)
{
    static std::vector<std::string> matches;
    static std::size_t next = 0;
    if (index == 0) {
        matches = candidates(std::string(rl_line_buffer, static_cast<std::size_t>(rl_point)));
        next = 0;
    }
    const std::size_t length = std::strlen(start);
    while (next < matches.size()) {
        const std::string &name = matches[next++];
        if (name.compare(0, length, start) == 0) {
            return strdup(name.c_str());
        }
    }
    return nullptr;
}

char **complete(const char *start, int /*from*/, int /*to*/)
{
    rl_attempted_completion_over = 1; // never file names
    return rl_completion_matches(start, nextCandidate);
}

/// False at the end of the input.
bool readLine(bool isTerminal, std::string &line)
{
    if (!isTerminal) {
        return static_cast<bool>(std::getline(std::cin, line));
    }
    const std::unique_ptr<char, decltype(&std::free)> text(readline("zefhost> "), &std::free);
    if (!text) {
        return false;
    }
    line = text.get();
    if (!line.empty()) {
        add_history(line.c_str());
    }
    return true;
}

} // namespace

void runPrompt(Session &session, Printer &printer)
{
    const bool isTerminal = isatty(STDIN_FILENO) != 0;
    rl_attempted_completion_function = complete;
    if (isTerminal) {
        std::puts("help lists the commands; Tab completes names.");
    }
    std::string line;
    while (!Session::isInterrupted() && readLine(isTerminal, line)) {
        if (!handleLine(line, session, printer)) {
            return;
        }
    }
}

} // namespace zefhost
