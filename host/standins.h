#pragma once

#include "printer.h"

#include <string>

/// The stand-ins of the closed libraries, as far as they are loaded. With the real libraries, every
/// function here reports failure and does nothing.
namespace zefhost {

/// Loads the log stand-in from the folder of the library and sends its files to another folder.
/// \return what went wrong, or an empty text.
std::string redirectLog(const std::string &libraryFile, const std::string &folder);

/// Loads the log stand-in from the folder of the library, if it is one, and starts or stops keeping
/// its lines in memory.
void keepLog(const std::string &libraryFile, bool isKept);

/// Prints the lines that were kept.
/// \return false when the log library is missing or is no stand-in.
bool printLog(Printer &printer);

/// The last error lines that were kept, one a line; empty when there are none.
std::string lastLogErrors();

/// Raises an account event, named with or without "account.", on a library thread.
/// \return false when there is no such event or no stand-in of the account library.
bool raiseEvent(const std::string &event);

/// Waits until the stand-in of the account library has nothing on its way, for at most that long.
void waitForMock(int milliseconds);

/// Sends a command to the stand-in of the account library: a JSON object, see
/// zefAccountStandinCommand.
/// \return false when it refuses or there is none.
bool tellMock(const std::string &json);

/// Lets the office suite send a message, which arrives on a library thread.
/// \return false when nobody takes it or there is no stand-in of the account library.
bool sendOfficeMessage(const std::string &json);

} // namespace zefhost
