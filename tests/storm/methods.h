#pragma once

#include <cstddef>

/// Replies of one lane reach one calling thread in the order of its calls.
enum class Lane { host, login, office, quick, count };

/// One request and what an honest account library makes of it.
struct Method
{
    const char *path;
    const char *params;
    Lane lane;
    const char *asynReply; ///< part of the reply of asynCall
    const char *reply;     ///< part of the reply of call, off the host thread
    int weight;            ///< how often it is chosen
};

/// All module methods, and the ways to miss one.
extern const Method kMethods[];
extern const std::size_t kMethodCount;

/// A method for a random number, by weight.
const Method &chooseMethod(std::size_t random);

extern const char *const kEvents[];
extern const std::size_t kEventCount;
