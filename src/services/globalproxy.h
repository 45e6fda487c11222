#pragma once

#include <QVariantMap>

/// Sets the proxy of every Qt network connection of this process and logs it, the password
/// included.
///
/// \param settings "proxyType" 1 system configuration, 2 HTTP, 3 SOCKS5, other none; "proxyHost",
///                 "proxyPort", "proxyUser", "proxyPassWord". Absent values read as 0 and empty.
///
/// Thread: host thread.
void setGlobalNetworkProxy(const QVariantMap &settings);
