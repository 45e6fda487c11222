#pragma once

#include "text.h"

#include <mutex>
#include <string>

namespace zefhost {

/// One reply as it arrived.
struct Reply
{
    std::string operation; ///< "call" or "asynCall"
    std::string path;
    Json body;
    std::string thread; ///< where it arrived
    double milliseconds = 0;
    bool wasExpected = false;
};

/// What the library found of a closed library: one of its functions, or nothing at all.
struct ClosedFunction
{
    std::string library;
    std::string file; ///< where that was loaded from; empty when it was not
    std::string name;
    std::string need;  ///< "required" or "optional"
    std::string state; ///< "found" or "missing"
};

/// Writes what happened to standard output: lines for people, or one JSON object a line.
///
/// All functions are callable from any thread.
class Printer
{
public:
    explicit Printer(bool asJson) : m_asJson(asJson) {}

    void reply(const Reply &reply);
    void event(const std::string &path, const Json &body, const std::string &thread);
    void task(const std::string &type, const Json &message, const std::string &thread);
    /// The outcome of an operation that has no reply.
    void outcome(const std::string &operation, const std::string &name, bool isOk,
                 bool wasExpected);
    /// Something that should have happened and did not.
    void failure(const std::string &operation, const std::string &name, const std::string &text);
    void closedFunction(const ClosedFunction &function);
    void note(const std::string &text);
    void logLine(const std::string &level, const std::string &module, const std::string &message,
                 long thread);

private:
    void write(const std::string &lines);
    void writeJson(const Json &object) { write(compact(object) + '\n'); }

    const bool m_asJson;
    std::mutex m_mutex; ///< keeps the lines of one thing together
};

/// Writes one message to standard error, made printable.
void complain(const std::string &text);

/// "ok", "fail", or "none" for a body that is no reply.
std::string resultOf(const Json &body);

} // namespace zefhost
