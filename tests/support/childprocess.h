#pragma once

#include <string>
#include <vector>

/// How a program ended and what it printed.
struct ChildResult
{
    int exitCode = -1; ///< -1: could not start, or ended by a signal
    int signal = 0;    ///< the signal that ended it; SIGKILL also when it took too long
    std::string output;
    std::string errors;
};

/// Runs a program of this build to its end. Under emulation it is emulated as this one is.
///
/// \param environment further variables, as "NAME=value".
/// \param seconds     after which it is killed.
ChildResult runChild(std::vector<std::string> command,
                     const std::vector<std::string> &environment = {}, int seconds = 60);

/// Runs a program of the machine, found in the PATH.
ChildResult runTool(std::vector<std::string> command,
                    const std::vector<std::string> &environment = {}, int seconds = 60);

/// The file of another program of this build.
std::string siblingProgram(const std::string &name);
