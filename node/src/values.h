#pragma once

#include <node_api.h>

#include <array>
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// Between JavaScript values and those of C++. What is expected of a value was checked on the
/// JavaScript side; anything else throws BadValue, which becomes a TypeError.

struct BadValue : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// UTF-8; lone surrogates become replacement characters.
std::string textFrom(napi_env env, napi_value value);
std::vector<std::string> textsFrom(napi_env env, napi_value array);
std::int64_t idFrom(napi_env env, napi_value value);
bool flagFrom(napi_env env, napi_value value);
bool isText(napi_env env, napi_value value);

napi_value valueOf(napi_env env, std::string_view text);
napi_value valueOf(napi_env env, bool flag);
napi_value valueOf(napi_env env, std::int64_t number);
void setProperty(napi_env env, napi_value object, const char *name, napi_value value);

/// The arguments of a call; missing ones are undefined.
using Arguments = std::array<napi_value, 6>;

using Function = napi_value (*)(napi_env, const Arguments &);

/// Makes a function of ours callable from JavaScript: no C++ exception leaves it.
template <Function function>
napi_value callable(napi_env env, napi_callback_info info)
{
    try {
        Arguments arguments{};
        std::size_t count = arguments.size();
        if (napi_get_cb_info(env, info, &count, arguments.data(), nullptr, nullptr) != napi_ok) {
            return nullptr;
        }
        return function(env, arguments);
    } catch (const BadValue &failure) {
        napi_throw_type_error(env, nullptr, failure.what());
    } catch (const std::exception &failure) {
        napi_throw_error(env, nullptr, failure.what());
    }
    return nullptr;
}
