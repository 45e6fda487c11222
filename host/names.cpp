#include "names.h"

#include "modulesjson.h"
#include "text.h"

namespace zefhost {

namespace {

const Json &description()
{
    static const Json json = Json::parse(kModulesJson);
    return json;
}

std::vector<std::string> namesOf(const char *list)
{
    std::vector<std::string> names;
    for (const Json &entry : description()[list]) {
        names.push_back(entry["name"]);
    }
    return names;
}

std::string parameterLine(const Json &parameter)
{
    const Json &schema = parameter["schema"];
    const std::string value = schema.contains("default") ? ", default " + schema["default"].dump()
                              : parameter["required"].get<bool>() ? ", required"
                                                                  : "";
    return "  " + parameter["name"].get<std::string>() + " (" + schema["type"].get<std::string>() +
           value + "): " + parameter["description"].get<std::string>() + '\n';
}

} // namespace

const std::vector<Method> &methods()
{
    static const std::vector<Method> all = [] {
        std::vector<Method> list;
        for (const Json &method : description()["methods"]) {
            list.push_back({method["name"], method["summary"], method["x-threadSafe"]});
        }
        return list;
    }();
    return all;
}

const std::vector<std::string> &eventPaths()
{
    static const std::vector<std::string> all = namesOf("x-events");
    return all;
}

const std::vector<std::string> &taskTypes()
{
    static const std::vector<std::string> all = namesOf("x-tasks");
    return all;
}

std::string methodHelp(const std::string &path)
{
    for (const Json &method : description()["methods"]) {
        if (method["name"] != path) {
            continue;
        }
        std::string help = method["summary"].get<std::string>() + ' ' +
                           method.value("description", std::string()) + '\n';
        for (const Json &parameter : method["params"]) {
            help += parameterLine(parameter);
        }
        Json params = Json::object();
        for (const Json &given : method["examples"][0]["params"]) {
            params[given["name"].get<std::string>()] = given["value"];
        }
        const char *verb = method["x-threadSafe"] ? "call " : "async ";
        return help.append("example: ").append(verb).append(path) + ' ' + params.dump() + '\n';
    }
    return {};
}

} // namespace zefhost
