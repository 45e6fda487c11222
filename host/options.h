#pragma once

#include "command.h"

#include <chrono>
#include <string>
#include <vector>

namespace zefhost {

/// The command line.
struct Options
{
    std::string library;
    std::string settings; ///< file; empty for settings of our own
    std::string logFolder;
    bool asJson = false;
    bool showLog = false;
    std::chrono::milliseconds limit{10000};
    std::vector<Command> commands;
    std::string recording;      ///< header of the recording that the commands are; empty for none
    bool isPrompt = false;      ///< commands come from the user instead
    bool showLibraries = false; ///< print what was found of the closed libraries
};

/// Reads the command line, and the script that it names.
/// \return true to go on; false when the program ends here with the given exit code.
bool readOptions(int count, char **arguments, Options &options, int &exitCode);

} // namespace zefhost
