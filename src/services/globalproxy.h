#pragma once

#include <QVariantMap>

/// Sets the proxy of every Qt network connection of this process and logs it, the password
/// included.
///
/// \param settings "proxyType" 1 system configuration, 2 HTTP, 3 SOCKS5, other none; "proxyHost",
///                 "proxyPort", "proxyUser", "proxyPassWord". Missing values count as 0 or empty.
///
/// Thread: host thread.
void setGlobalNetworkProxy(const QVariantMap &settings);
