#include "support/proxyserver.h"

#include <QByteArray>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string receive(int connection, std::size_t size)
{
    std::string bytes(size, '\0');
    const ssize_t count = recv(connection, bytes.data(), size, MSG_WAITALL);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

/// A text after its length in one byte.
std::string receiveCounted(int connection)
{
    const std::string length = receive(connection, 1);
    return length.empty() ? length : receive(connection, static_cast<unsigned char>(length[0]));
}

void answer(int connection, const std::string &bytes)
{
    send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::string field(const std::string &head, const std::string &before)
{
    const std::size_t start = head.find(before);
    if (start == std::string::npos) {
        return {};
    }
    const std::size_t first = start + before.size();
    return head.substr(first, head.find_first_of(" \r\n", first) - first);
}

} // namespace

ProxyServer::ProxyServer() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *name = reinterpret_cast<sockaddr *>(&address);
    if (bind(m_listener, name, size) != 0 || listen(m_listener, 8) != 0 ||
        getsockname(m_listener, name, &size) != 0) {
        qFatal("no port for the proxy");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

ProxyServer::~ProxyServer()
{
    shutdown(m_listener, SHUT_RDWR); // ends accept
    m_thread.join();
    close(m_listener);
}

std::string ProxyServer::lastRequest() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastRequest;
}

void ProxyServer::note(const std::string &request)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lastRequest = request;
}

void ProxyServer::serve()
{
    for (;;) {
        const int connection = accept(m_listener, nullptr, nullptr);
        if (connection < 0) {
            return;
        }
        char first = 0;
        recv(connection, &first, 1, MSG_PEEK);
        if (first == 5) {
            serveSocks(connection);
        } else {
            serveHttp(connection);
        }
        close(connection);
    }
}

void ProxyServer::serveHttp(int connection)
{
    // A client sends its credentials only when it is asked for them, on the same connection.
    for (;;) {
        std::string head;
        while (head.find("\r\n\r\n") == std::string::npos) {
            const std::string byte = receive(connection, 1);
            if (byte.empty()) {
                return;
            }
            head += byte;
        }
        const std::string credentials = field(head, "Proxy-Authorization: Basic ");
        if (!credentials.empty()) {
            note("CONNECT " +
                 QByteArray::fromBase64(QByteArray::fromStdString(credentials)).toStdString() +
                 ' ' + field(head, "CONNECT "));
            answer(connection, "HTTP/1.1 200 OK\r\n\r\n");
            return;
        }
        answer(connection, "HTTP/1.1 407 Proxy Authentication Required\r\n"
                           "Proxy-Authenticate: Basic realm=\"proxy\"\r\n"
                           "Content-Length: 0\r\n\r\n");
    }
}

void ProxyServer::serveSocks(int connection)
{
    receive(connection, 1);
    receiveCounted(connection); // methods on offer
    answer(connection, std::string("\5\2", 2));
    receive(connection, 1);
    const std::string user = receiveCounted(connection);
    const std::string password = receiveCounted(connection);
    answer(connection, std::string("\1\0", 2));
    receive(connection, 4); // version, connect, reserved, the address is a name
    const std::string host = receiveCounted(connection);
    const std::string port = receive(connection, 2);
    if (port.size() == 2) {
        const int number =
            static_cast<unsigned char>(port[0]) * 256 + static_cast<unsigned char>(port[1]);
        note("SOCKS5 " + user + ':' + password + ' ' + host + ':' + std::to_string(number));
        answer(connection, std::string("\5\0\0\1\0\0\0\0\0\0", 10));
    }
}
