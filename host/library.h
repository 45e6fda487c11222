#pragma once

#include <stdexcept>
#include <string>

#include <zelectronframework/zelectronframework.h>

namespace zefhost {

/// Why the host cannot start, with what to do about it.
class StartFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The library's file beside this program: ../lib/libzelectronframework.so.
std::string defaultLibrary();

/// Loads the library as the application does and gets its one object, which is never unloaded.
/// \throw StartFailure
zelectronframeworkspace::IElectronFramework *loadFramework(const std::string &file);

/// Text of the settings: the file's content, or settings of our own when no file is named.
/// \throw StartFailure
std::string settingsText(const std::string &file);

} // namespace zefhost
