#include "values.h"

namespace {

void expect(napi_status status, const char *what)
{
    if (status != napi_ok) {
        throw BadValue(std::string(what) + " expected");
    }
}

} // namespace

std::string textFrom(napi_env env, napi_value value)
{
    // Most texts fit, and asking for the length first costs as much as copying them.
    char buffer[1024];
    std::size_t length = 0;
    expect(napi_get_value_string_utf8(env, value, buffer, sizeof buffer, &length), "text");
    // A character of up to four bytes that does not fit is left out whole.
    if (length < sizeof buffer - 4) {
        return {buffer, length};
    }
    expect(napi_get_value_string_utf8(env, value, nullptr, 0, &length), "text");
    std::string text(length, '\0');
    expect(napi_get_value_string_utf8(env, value, text.data(), length + 1, &length), "text");
    return text;
}

std::vector<std::string> textsFrom(napi_env env, napi_value array)
{
    std::uint32_t length = 0;
    expect(napi_get_array_length(env, array, &length), "array");
    std::vector<std::string> texts;
    for (std::uint32_t index = 0; index < length; ++index) {
        napi_value element = nullptr;
        expect(napi_get_element(env, array, index, &element), "element");
        texts.push_back(textFrom(env, element));
    }
    return texts;
}

std::int64_t idFrom(napi_env env, napi_value value)
{
    std::int64_t id = 0;
    expect(napi_get_value_int64(env, value, &id), "number");
    return id;
}

bool flagFrom(napi_env env, napi_value value)
{
    bool flag = false;
    expect(napi_get_value_bool(env, value, &flag), "boolean");
    return flag;
}

bool isText(napi_env env, napi_value value)
{
    napi_valuetype type = napi_undefined;
    return napi_typeof(env, value, &type) == napi_ok && type == napi_string;
}

napi_value valueOf(napi_env env, std::string_view text)
{
    napi_value value = nullptr;
    expect(napi_create_string_utf8(env, text.data(), text.size(), &value), "shorter text");
    return value;
}

napi_value valueOf(napi_env env, bool flag)
{
    napi_value value = nullptr;
    expect(napi_get_boolean(env, flag, &value), "boolean");
    return value;
}

napi_value valueOf(napi_env env, std::int64_t number)
{
    napi_value value = nullptr;
    expect(napi_create_int64(env, number, &value), "number");
    return value;
}

void setProperty(napi_env env, napi_value object, const char *name, napi_value value)
{
    expect(napi_set_named_property(env, object, name, value), "object");
}
