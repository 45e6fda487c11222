#pragma once

#include <string>
#include <vector>

/// One request of a host and what an honest account library makes of it.
struct Request
{
    std::string path;
    std::string params;
    std::string asynReply; ///< part of the reply of asynCall
    std::string reply;     ///< part of the reply of call, off the host thread
    std::size_t queue; ///< replies of one queue reach a calling thread in the order of its calls
};

/// A task type and the values of "dataType" in its messages; none when these are any objects.
struct Task
{
    std::string type;
    std::vector<std::string> dataTypes;
};

/// What interface/modules.json describes, and the ways to miss it.
struct Interface
{
    static const Interface &instance();

    std::vector<Request> requests;
    std::size_t queueCount = 1; ///< the first is the host thread's
    std::vector<std::string> events;
    std::vector<Task> tasks;
};
