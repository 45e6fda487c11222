#pragma once

#include <mutex>
#include <string>
#include <thread>

/// A proxy on the loopback interface that speaks HTTP CONNECT and SOCKS5 with user and password. It
/// grants every connection and notes what was asked, without making the connection.
class ProxyServer
{
public:
    ProxyServer();
    ~ProxyServer();
    ProxyServer(const ProxyServer &) = delete;
    ProxyServer &operator=(const ProxyServer &) = delete;

    int port() const { return m_port; }

    /// "CONNECT user:password host:port" or "SOCKS5 user:password host:port"; empty when none came.
    std::string lastRequest() const;

private:
    void serve();
    void serveHttp(int connection);
    void serveSocks(int connection);
    void note(const std::string &request);

    int m_listener = -1;
    int m_port = 0;
    mutable std::mutex m_mutex; // guards m_lastRequest
    std::string m_lastRequest;
    std::thread m_thread;
};
