#pragma once

#include <string>
#include <vector>

/// What is known of the interface, from interface/modules.json: for completion, listings and help. A
/// name that is missing here can be used all the same: the library decides.
namespace zefhost {

struct Method
{
    std::string path;
    std::string summary;
    bool isThreadSafe; ///< may run by call on a thread of the host
};

const std::vector<Method> &methods();
const std::vector<std::string> &eventPaths();
const std::vector<std::string> &taskTypes();

/// What a method takes and does, in several lines; empty when it is not known.
std::string methodHelp(const std::string &path);

} // namespace zefhost
