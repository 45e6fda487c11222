#include "values.h"

#include <stdexcept>

void check(napi_status status, const char *what)
{
    if (status != napi_ok) {
        throw std::runtime_error("Node-API refused " + std::string(what) + ", status " +
                                 std::to_string(status));
    }
}

std::string textFrom(napi_env env, napi_value value)
{
    // Most texts fit, and asking for the length first costs as much as copying them.
    char buffer[1024];
    std::size_t length = 0;
    check(napi_get_value_string_utf8(env, value, buffer, sizeof buffer, &length), "a text");
    // A character of up to four bytes that does not fit is left out whole.
    if (length < sizeof buffer - 4) {
        return {buffer, length};
    }
    check(napi_get_value_string_utf8(env, value, nullptr, 0, &length), "a text");
    std::string text(length, '\0');
    check(napi_get_value_string_utf8(env, value, text.data(), length + 1, &length), "a text");
    return text;
}

std::vector<std::string> textsFrom(napi_env env, napi_value array)
{
    std::uint32_t length = 0;
    check(napi_get_array_length(env, array, &length), "an array");
    std::vector<std::string> texts;
    for (std::uint32_t index = 0; index < length; ++index) {
        napi_value element = nullptr;
        check(napi_get_element(env, array, index, &element), "an element");
        texts.push_back(textFrom(env, element));
    }
    return texts;
}

std::int64_t idFrom(napi_env env, napi_value value)
{
    std::int64_t id = 0;
    check(napi_get_value_int64(env, value, &id), "a number");
    return id;
}

bool flagFrom(napi_env env, napi_value value)
{
    bool flag = false;
    check(napi_get_value_bool(env, value, &flag), "a boolean");
    return flag;
}

bool isText(napi_env env, napi_value value)
{
    napi_valuetype type = napi_undefined;
    check(napi_typeof(env, value, &type), "a type");
    return type == napi_string;
}

napi_value valueOf(napi_env env, std::string_view text)
{
    napi_value value = nullptr;
    if (napi_create_string_utf8(env, text.data(), text.size(), &value) != napi_ok) {
        bool isPending = false;
        check(napi_is_exception_pending(env, &isPending), "a look at exceptions");
        if (isPending) {
            check(napi_get_and_clear_last_exception(env, &value), "an exception");
        }
        check(napi_get_null(env, &value), "null");
    }
    return value;
}

napi_value valueOf(napi_env env, bool flag)
{
    napi_value value = nullptr;
    check(napi_get_boolean(env, flag, &value), "a boolean");
    return value;
}

napi_value valueOf(napi_env env, std::int64_t number)
{
    napi_value value = nullptr;
    check(napi_create_int64(env, number, &value), "a number");
    return value;
}

void setProperty(napi_env env, napi_value object, const char *name, napi_value value)
{
    check(napi_set_named_property(env, object, name, value), "a property");
}

void throwToJavaScript(napi_env env, const char *what)
{
    bool isPending = false;
    if (napi_is_exception_pending(env, &isPending) == napi_ok && !isPending) {
        // Refused only while the environment ends, when nobody is left to be told.
        (void)napi_throw_error(env, "ZEF_INTERNAL", what);
    }
}
