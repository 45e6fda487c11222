#include "compare.h"

#include <regex>

namespace zefhost {

namespace {

const std::regex kPlaceholder(R"(\{\{[A-Za-z0-9_-]+:[0-9]+\}\})");
const std::regex kIndex(R"(\[[0-9]+\])");

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
    for (std::sregex_iterator at(text.begin(), text.end(), kPlaceholder), end; at != end; ++at) {
        m_bound.emplace(at->str(), at->str());
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
        const bool areTexts = recorded.is_string() && pair.found->is_string();
        if (recorded == found ||
            (areTexts && standsFor(recorded.get<std::string>(), pair.found->get<std::string>()))) {
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
    const std::string general = std::regex_replace(path, kIndex, "[*]");
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

bool Comparison::standsFor(const std::string &recorded, const std::string &found)
{
    std::map<std::string, std::string> bound = m_bound;
    std::size_t at = 0;   // in what was found
    std::size_t next = 0; // in what was recorded
    const std::sregex_iterator end;
    std::sregex_iterator name(recorded.begin(), recorded.end(), kPlaceholder);
    if (name == end || found.compare(0, name->position(), recorded, 0, name->position()) != 0) {
        return false;
    }
    at = static_cast<std::size_t>(name->position());
    for (; name != end; ++name) {
        next = static_cast<std::size_t>(name->position() + name->length());
        const std::sregex_iterator following = std::next(name);
        const bool isLast = following == end;
        const std::string literal =
            recorded.substr(next, isLast ? std::string::npos : following->position() - next);
        const auto known = bound.find(name->str());
        const std::size_t stop = known != bound.end() ? at + known->second.size()
                                 : !isLast            ? found.find(literal, at)
                                 : found.size() < at + literal.size()
                                     ? std::string::npos
                                     : found.size() - literal.size();
        if (stop == std::string::npos || stop > found.size() ||
            found.compare(stop, literal.size(), literal) != 0) {
            return false;
        }
        const std::string value = found.substr(at, stop - at);
        if (bound.emplace(name->str(), value).first->second != value) {
            return false;
        }
        at = stop + literal.size();
    }
    m_bound = std::move(bound);
    return at == found.size();
}

} // namespace zefhost
