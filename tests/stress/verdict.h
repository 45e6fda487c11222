#pragma once

#include <functional>
#include <string>

/// \file
/// Promises of the library that a driver found broken. Thread: any.

/// Notes a broken promise; the first few are printed to the standard error.
void broken(const std::string &promise);

/// Notes a broken promise when \p holds is false.
void expect(bool holds, const std::string &promise);

long brokenCount();

/// Runs \p step; ends the process with a message when it takes a minute. One at a time.
void withoutHanging(const char *what, const std::function<void()> &step);

/// Waits until \p condition holds, without a fixed sleep. \return false after a minute.
bool waitFor(const std::function<bool()> &condition);
