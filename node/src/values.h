#pragma once

#include <node_api.h>

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// Between JavaScript values and those of C++. Arguments were checked on the JavaScript side, so that
/// whatever Node-API refuses here is a fault of the package or of the runtime.

/// Every status of Node-API goes through here. Throws when it is not "ok".
void check(napi_status status, const char *what);

/// UTF-8; lone surrogates become replacement characters.
std::string textFrom(napi_env env, napi_value value);
std::vector<std::string> textsFrom(napi_env env, napi_value array);
std::int64_t idFrom(napi_env env, napi_value value);
bool flagFrom(napi_env env, napi_value value);
bool isText(napi_env env, napi_value value);

/// null for a text that is longer than JavaScript's longest, which a reply may be.
napi_value valueOf(napi_env env, std::string_view text);
napi_value valueOf(napi_env env, bool flag);
napi_value valueOf(napi_env env, std::int64_t number);
void setProperty(napi_env env, napi_value object, const char *name, napi_value value);

/// Becomes an error with the code ZEF_INTERNAL, unless JavaScript has an exception pending.
void throwToJavaScript(napi_env env, const char *what);

/// The arguments of a call; missing ones are undefined.
using Arguments = std::array<napi_value, 7>;

using Function = napi_value (*)(napi_env, const Arguments &);

/// Makes a function of ours callable from JavaScript: no C++ exception leaves it.
template <Function function>
napi_value callable(napi_env env, napi_callback_info info)
{
    try {
        Arguments arguments{};
        std::size_t count = arguments.size();
        check(napi_get_cb_info(env, info, &count, arguments.data(), nullptr, nullptr), "arguments");
        return function(env, arguments);
    } catch (const std::exception &failure) {
        throwToJavaScript(env, failure.what());
    }
    return nullptr;
}
