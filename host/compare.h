#pragma once

#include "text.h"

#include <map>
#include <vector>

namespace zefhost {

/// What may differ from what was recorded.
struct Rule
{
    std::string subject; ///< the method or task type that it is for; empty for all
    std::string path;    ///< as in Difference, "[*]" for any index
    std::string as;      ///< "any", "text", "number" or "shape"
};

/// Reads the rules of a recording's header; entries that are not rules are ignored.
std::vector<Rule> rulesFrom(const Json &mayDiffer);

struct Difference
{
    std::string path; ///< for example "data.cookieList[0].value"; empty for the whole
    std::string recorded;
    std::string found;
};

/// Compares what was recorded with what came.
///
/// A placeholder like {{ssid:1}} in a recorded text stands for one text or number, the same wherever it
/// occurs: from left to right for what it stands for already, or else for as little as possible; the
/// last one in a text for what is left. Texts that are JSON objects or arrays themselves are compared as such.
class Comparison
{
public:
    explicit Comparison(std::vector<Rule> rules) : m_rules(std::move(rules)) {}

    /// Adds text that the replay passes to the library: a placeholder in it stands for itself.
    void addGiven(const std::string &text);

    std::vector<Difference> differences(const std::string &subject, const Json &recorded,
                                        const Json &found);

private:
    struct Pair
    {
        const Json *recorded; ///< null for what is not there
        const Json *found;
    };
    using Differences = std::vector<Difference>;

    void compare(const Pair &pair, const std::string &path, Differences &differences);
    void compareMembers(const Json &recorded, const Json &found, const std::string &path,
                        Differences &differences);
    bool mayDiffer(const Pair &pair, const std::string &path) const;
    bool standsFor(const Json &recorded, const Json &found);

    std::vector<Rule> m_rules;
    std::string m_subject;
    std::map<std::string, std::string> m_bound; ///< what each placeholder stands for
};

} // namespace zefhost
