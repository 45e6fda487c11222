#pragma once

#include <string>
#include <vector>

/// The names that the library knows, for completion and listings. A name that is missing here can
/// be used all the same: the library decides.
namespace zefhost {

struct Method
{
    const char *path;
    bool isThreadSafe; ///< may run by call on a thread of the host
};

const std::vector<Method> &methods();
const std::vector<std::string> &eventPaths();
const std::vector<std::string> &taskTypes();

} // namespace zefhost
