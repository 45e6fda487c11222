#include "printer.h"

#include <algorithm>
#include <cstdio>

namespace zefhost {

namespace {

constexpr std::size_t kMarkWidth = 6;
constexpr std::size_t kNameWidth = 34;

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size() + 1, width), ' ');
    return text;
}

std::string indented(const std::string &lines)
{
    const std::string margin(kMarkWidth, ' ');
    std::string out = margin;
    for (const char character : lines) {
        out += character;
        if (character == '\n') {
            out += margin;
        }
    }
    return out + '\n';
}

std::string headLine(const std::string &mark, const std::string &name, const std::string &rest)
{
    return padded(mark, kMarkWidth) + padded(printable(name), kNameWidth) + rest + '\n';
}

std::string milliseconds(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", value);
    return text;
}

/// What a reader wants of a reply: the data of a success, the text of a failure, all of the rest.
std::string detail(const Json &body)
{
    const std::string result = resultOf(body);
    if (result == "none") {
        return indented(readable(body));
    }
    std::string lines;
    if (result == "fail" && body.contains("msg")) {
        lines += indented(textOf(body["msg"]));
    }
    if (body.contains("data")) {
        lines += indented(readable(body["data"]));
    }
    return lines;
}

} // namespace

std::string resultOf(const Json &body)
{
    if (!body.is_object() || !body.contains("result")) {
        return "none";
    }
    const Json &result = body["result"];
    return result == "ok" || result == "fail" ? result.get<std::string>() : "none";
}

void Printer::reply(const Reply &reply)
{
    if (m_asJson) {
        writeJson({{"kind", "reply"},
                   {"operation", reply.operation},
                   {"method", reply.path},
                   {"reply", reply.body},
                   {"thread", reply.thread},
                   {"milliseconds", reply.milliseconds},
                   {"asExpected", reply.wasExpected}});
        return;
    }
    const std::string result = resultOf(reply.body);
    std::string rest =
        reply.operation + ", " + reply.thread + ", " + milliseconds(reply.milliseconds);
    if (!reply.wasExpected) {
        rest += result == "ok" ? ", NOT EXPECTED: should have failed" : ", NOT EXPECTED";
    } else if (result == "fail") {
        rest += ", as expected";
    }
    write(headLine(result, reply.path, rest) + detail(reply.body));
}

void Printer::event(const std::string &path, const Json &body, const std::string &thread)
{
    if (m_asJson) {
        writeJson({{"kind", "event"}, {"event", path}, {"body", body}, {"thread", thread}});
        return;
    }
    const bool isEmpty = body.is_object() && body.empty();
    write(headLine("event", path, thread) + (isEmpty ? "" : indented(readable(body))));
}

void Printer::task(const std::string &type, const Json &message, const std::string &thread)
{
    if (m_asJson) {
        writeJson({{"kind", "task"}, {"task", type}, {"message", message}, {"thread", thread}});
        return;
    }
    write(headLine("task", type, thread) + indented(readable(message)));
}

void Printer::outcome(const std::string &operation, const std::string &name, bool isOk,
                      bool wasExpected)
{
    if (m_asJson) {
        writeJson({{"kind", "outcome"},
                   {"operation", operation},
                   {"name", name},
                   {"ok", isOk},
                   {"asExpected", wasExpected}});
        return;
    }
    const char *expectation = !wasExpected ? ", NOT EXPECTED" : isOk ? "" : ", as expected";
    write(headLine(isOk ? "ok" : "fail", name, operation + expectation));
}

void Printer::failure(const std::string &operation, const std::string &name,
                      const std::string &text)
{
    if (m_asJson) {
        writeJson({{"kind", "failure"}, {"operation", operation}, {"name", name}, {"text", text}});
        return;
    }
    write(headLine("fail", name, operation + ", NOT EXPECTED: " + printable(text)));
}

void Printer::closedFunction(const ClosedFunction &function)
{
    if (m_asJson) {
        writeJson({{"kind", "function"},
                   {"library", function.library},
                   {"file", function.file},
                   {"function", function.name},
                   {"need", function.need},
                   {"state", function.state}});
        return;
    }
    write(padded(function.library, 20) + padded(function.name, 36) + padded(function.need, 10) +
          padded(function.state, 9) + printable(function.file) + '\n');
}

void Printer::note(const std::string &text)
{
    if (m_asJson) {
        writeJson({{"kind", "note"}, {"text", text}});
        return;
    }
    write("\n" + printable(text, true) + '\n');
}

void Printer::logLine(const std::string &level, const std::string &module,
                      const std::string &message, long thread)
{
    if (m_asJson) {
        writeJson({{"kind", "log"},
                   {"level", level},
                   {"module", module},
                   {"message", message},
                   {"threadId", thread}});
        return;
    }
    write(padded("log", kMarkWidth) + padded(printable(level), 8) + printable(module) + ": " +
          printable(message) + '\n');
}

void Printer::write(const std::string &lines)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::fwrite(lines.data(), 1, lines.size(), stdout);
    std::fflush(stdout);
}

void complain(const std::string &text)
{
    std::fprintf(stderr, "zefhost: %s\n", printable(text, true).c_str());
}

} // namespace zefhost
