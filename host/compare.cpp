#include "compare.h"

#include <cmath>

namespace zefhost {

namespace {

// docs/decisions/0013 has the rules. The inspector's lib/compare.cjs follows them too, and both are
// tested with tests/host/replays.txt.

/// A placeholder like {{ssid:1}} in a text.
struct Placeholder
{
    std::size_t begin = 0;
    std::size_t end = 0; ///< behind it
};

/// The first one from there on; its end is 0 when there is none.
Placeholder nextPlaceholder(const std::string &text, std::size_t from)
{
    const auto skip = [&text](std::size_t at, auto isOne) {
        while (at < text.size() && isOne(text[at])) {
            ++at;
        }
        return at;
    };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isName = [isDigit](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '_' ||
               c == '-';
    };
    for (std::size_t begin = text.find("{{", from); begin != std::string::npos;) {
        const std::size_t colon = skip(begin + 2, isName);
        const std::size_t number = colon + 1;
        const std::size_t end = number < text.size() ? skip(number, isDigit) : number;
        const bool isOne = colon > begin + 2 && text.compare(colon, 1, ":") == 0 && end > number &&
                           text.compare(end, 2, "}}") == 0;
        if (isOne) {
            return {begin, end + 2};
        }
        // What was read as its name holds no brace.
        begin = text.find("{{", colon > begin + 2 ? colon : begin + 1);
    }
    return {};
}

/// A text with placeholders: what is between them, one more than there are of them.
struct Pattern
{
    std::vector<std::string> literals;
    std::vector<std::string> names;
};

Pattern patternOf(const std::string &text)
{
    Pattern pattern;
    std::size_t at = 0;
    for (Placeholder found = nextPlaceholder(text, 0); found.end > 0;
         found = nextPlaceholder(text, at)) {
        pattern.literals.push_back(text.substr(at, found.begin - at));
        pattern.names.push_back(text.substr(found.begin, found.end - found.begin));
        at = found.end;
    }
    pattern.literals.push_back(text.substr(at));
    return pattern;
}

/// The path with "[*]" for every index.
std::string generalPath(const std::string &path)
{
    std::string general;
    for (std::size_t at = 0; at < path.size();) {
        general += path[at];
        const std::size_t end = path.find_first_not_of("0123456789", at + 1);
        const bool isIndex =
            path[at] == '[' && end != std::string::npos && end > at + 1 && path[end] == ']';
        general += isIndex ? "*" : "";
        at = isIndex ? end : at + 1;
    }
    return general;
}

/// What a placeholder can stand for as a text, or nothing.
std::optional<std::string> textFor(const Json &value)
{
    constexpr double kExact = 9007199254740992; // integers up to there
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (!value.is_number()) {
        return std::nullopt;
    }
    const double number = value.get<double>();
    const bool isInteger = std::trunc(number) == number && std::abs(number) < kExact;
    return isInteger ? std::to_string(static_cast<long long>(number)) : compact(value);
}

/// Numbers are compared as JavaScript knows them.
bool isEqual(const Json &a, const Json &b)
{
    return a.is_number() && b.is_number() ? a.get<double>() == b.get<double>() : a == b;
}

/// The object or array that a text stands for, or the value itself.
Json parsed(const Json &value)
{
    if (value.is_string()) {
        const std::string text = value.get<std::string>();
        const std::size_t start = text.find_first_not_of(" \t\r\n");
        const bool isContainer =
            start != std::string::npos && (text[start] == '{' || text[start] == '[');
        std::string error;
        const std::optional<Json> inner = isContainer ? parseJson(text, error) : std::nullopt;
        if (inner && inner->is_structured()) {
            return *inner;
        }
    }
    return value;
}

bool isSameKind(const Json &a, const Json &b)
{
    return a.type() == b.type() || (a.is_number() && b.is_number());
}

bool hasShape(const Json &recorded, const Json &found)
{
    if (!isSameKind(recorded, found) || recorded.size() != found.size()) {
        return false;
    }
    if (!recorded.is_structured()) {
        return true;
    }
    for (const auto &[key, value] : recorded.items()) {
        const bool isThere = recorded.is_array() || found.contains(key);
        if (!isThere ||
            !hasShape(value, recorded.is_array() ? found[std::stoul(key)] : found[key])) {
            return false;
        }
    }
    return true;
}

std::string shown(const Json *value)
{
    return value ? compact(*value) : "nothing";
}

const Json *memberOf(const Json &container, const std::string &key)
{
    if (container.is_array()) {
        const std::size_t index = std::stoul(key);
        return index < container.size() ? &container[index] : nullptr;
    }
    const auto found = container.find(key);
    return found == container.end() ? nullptr : &*found;
}

} // namespace

std::vector<Rule> rulesFrom(const Json &mayDiffer)
{
    std::vector<Rule> rules;
    for (const Json &entry : mayDiffer) {
        if (!entry.is_object() || !entry.contains("path")) {
            continue;
        }
        const auto text = [&entry](const char *key, const char *fallback) {
            const bool isText = entry.contains(key) && entry[key].is_string();
            return isText ? entry[key].get<std::string>() : std::string(fallback);
        };
        rules.push_back(
            {text("method", text("task", "").c_str()), text("path", ""), text("as", "any")});
    }
    return rules;
}

void Comparison::addGiven(const std::string &text)
{
    for (const std::string &name : patternOf(text).names) {
        m_bound.emplace(name, name);
    }
}

std::vector<Difference> Comparison::differences(const std::string &subject, const Json &recorded,
                                                const Json &found)
{
    m_subject = subject;
    Differences differences;
    compare({&recorded, &found}, "", differences);
    return differences;
}

void Comparison::compare(const Pair &pair, const std::string &path, Differences &differences)
{
    if (mayDiffer(pair, path)) {
        return;
    }
    if (pair.recorded && pair.found) {
        const Json recorded = parsed(*pair.recorded);
        const Json found = parsed(*pair.found);
        if (recorded.is_structured() && recorded.type() == found.type()) {
            compareMembers(recorded, found, path, differences);
            return;
        }
        if (isEqual(recorded, found) || standsFor(*pair.recorded, *pair.found)) {
            return;
        }
    }
    differences.push_back({path, shown(pair.recorded), shown(pair.found)});
}

void Comparison::compareMembers(const Json &recorded, const Json &found, const std::string &path,
                                Differences &differences)
{
    const auto below = [&](const std::string &key) {
        if (recorded.is_array()) {
            return path + '[' + key + ']';
        }
        return path.empty() ? key : path + '.' + key;
    };
    for (const auto &[key, value] : recorded.items()) {
        compare({&value, memberOf(found, key)}, below(key), differences);
    }
    for (const auto &[key, value] : found.items()) {
        if (!memberOf(recorded, key)) {
            compare({nullptr, &value}, below(key), differences);
        }
    }
}

bool Comparison::mayDiffer(const Pair &pair, const std::string &path) const
{
    if (!pair.found) {
        return false;
    }
    const std::string general = generalPath(path);
    for (const Rule &rule : m_rules) {
        const bool isMeant = (rule.subject.empty() || rule.subject == m_subject) &&
                             (rule.path == path || rule.path == general);
        if (isMeant) {
            return rule.as == "any" || (rule.as == "text" && pair.found->is_string()) ||
                   (rule.as == "number" && pair.found->is_number()) ||
                   (rule.as == "shape" && pair.recorded &&
                    hasShape(parsed(*pair.recorded), parsed(*pair.found)));
        }
    }
    return false;
}

bool Comparison::standsFor(const Json &recorded, const Json &found)
{
    const Pattern pattern = patternOf(recorded.is_string() ? recorded.get<std::string>() : "");
    const std::optional<std::string> text = textFor(found);
    const std::string &first = pattern.literals.front();
    if (pattern.names.empty() || !text || text->compare(0, first.size(), first) != 0) {
        return false;
    }
    std::map<std::string, std::string> bound = m_bound;
    std::size_t at = first.size();
    for (std::size_t index = 0; index < pattern.names.size(); ++index) {
        const std::string &literal = pattern.literals[index + 1];
        const auto known = bound.find(pattern.names[index]);
        const bool isLast = index + 1 == pattern.names.size();
        const std::size_t end = known != bound.end()            ? at + known->second.size()
                                : !isLast                       ? text->find(literal, at)
                                : text->size() < literal.size() ? std::string::npos
                                                                : text->size() - literal.size();
        if (end == std::string::npos || end < at || end > text->size() ||
            text->compare(end, literal.size(), literal) != 0) {
            return false;
        }
        const std::string value = text->substr(at, end - at);
        if (bound.emplace(pattern.names[index], value).first->second != value) {
            return false;
        }
        at = end + literal.size();
    }
    m_bound = std::move(bound);
    return at == text->size();
}

} // namespace zefhost
