#include "support/childprocess.h"

#include <QFileInfo>
#include <QString>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <chrono>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<char *> pointers(std::vector<std::string> &texts)
{
    std::vector<char *> list;
    list.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

/// Reads one of the pipes. \return false at its end.
bool readSome(int file, std::string &text)
{
    std::array<char, 4096> buffer{};
    const ssize_t count = read(file, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

void readAll(pid_t child, int output, int errors, int seconds, ChildResult &result)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::array<pollfd, 2> files{pollfd{output, POLLIN, 0}, pollfd{errors, POLLIN, 0}};
    while (files[0].fd >= 0 || files[1].fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0 ||
            poll(files.data(), files.size(), static_cast<int>(left.count())) <= 0) {
            kill(child, SIGKILL);
            return;
        }
        if (files[0].revents && !readSome(output, result.output)) {
            files[0].fd = -1;
        }
        if (files[1].revents && !readSome(errors, result.errors)) {
            files[1].fd = -1;
        }
    }
}

} // namespace

ChildResult runChild(std::vector<std::string> command, const std::vector<std::string> &environment,
                     int seconds)
{
    const char *emulator = std::getenv("ZEF_TEST_EMULATOR");
    if (emulator && *emulator) {
        command.insert(command.begin(), emulator);
    }
    return runTool(std::move(command), environment, seconds);
}

ChildResult runTool(std::vector<std::string> command, const std::vector<std::string> &environment,
                    int seconds)
{
    std::vector<std::string> variables = environment;
    for (char **variable = environ; *variable; ++variable) {
        const std::string name(*variable, std::strcspn(*variable, "=") + 1);
        const bool isReplaced =
            std::any_of(environment.begin(), environment.end(),
                        [&name](const std::string &given) { return given.rfind(name, 0) == 0; });
        if (!isReplaced) {
            variables.emplace_back(*variable);
        }
    }

    ChildResult result;
    int output[2];
    int errors[2];
    if (pipe(output) != 0 || pipe(errors) != 0) {
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
    for (const int file : {output[0], output[1], errors[0], errors[1]}) {
        posix_spawn_file_actions_addclose(&actions, file);
    }
    pid_t child = 0;
    const int failure = posix_spawnp(&child, command[0].c_str(), &actions, nullptr,
                                     pointers(command).data(), pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    close(errors[1]);
    if (!failure) {
        readAll(child, output[0], errors[0], seconds, result);
        int status = 0;
        waitpid(child, &status, 0);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    close(output[0]);
    close(errors[0]);
    return result;
}

std::string siblingProgram(const std::string &name)
{
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    return QFileInfo(program).path().toStdString() + '/' + name;
}
