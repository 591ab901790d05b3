#include "tools/zelhub-bench-usbip/CControlSocket.h"

#include "tools/zelhub/output/Failure.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

constexpr int kBacklog = 8;
constexpr timeval kPatience = {5, 0};
constexpr timeval kPatienceOfServer = {1, 0};

[[noreturn]] void Refused(const std::string& strPath)
{
    throw CToolError(ExitCode::General, "control socket " + strPath + ": " + std::strerror(errno),
                     "Give --control another path, and the server and this command the same one.");
}

sockaddr_un AddressOf(const std::string& strPath)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    errno = ENAMETOOLONG;
    if (strPath.size() >= sizeof address.sun_path)
        Refused(strPath);
    std::memcpy(address.sun_path, strPath.data(), strPath.size());
    return address;
}

void SendAll(int nSocket, const std::string& strText)
{
    size_t nSent = 0;
    while (nSent < strText.size()) {
        const ssize_t cb =
            ::send(nSocket, strText.data() + nSent, strText.size() - nSent, MSG_NOSIGNAL);
        if (cb <= 0)
            return;
        nSent += static_cast<size_t>(cb);
    }
}

/// Reads up to a character (dropped) or the end.
std::string ReceiveUntil(int nSocket, char chEnd)
{
    std::string strText;
    char ch = 0;
    while (::recv(nSocket, &ch, 1, 0) == 1 && ch != chEnd)
        strText += ch;
    return strText;
}

} // namespace

CControlSocket::CControlSocket(std::string strPath) : m_strPath(std::move(strPath))
{
    const sockaddr_un address = AddressOf(m_strPath);
    struct stat left = {};
    if (::lstat(m_strPath.c_str(), &left) == 0 && S_ISSOCK(left.st_mode))
        ::unlink(m_strPath.c_str()); // of a server that did not end by itself
    m_socket = COpenFile(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_socket.Get(), kBacklog) != 0)
        Refused(m_strPath);
}

CControlSocket::~CControlSocket()
{
    ::unlink(m_strPath.c_str());
}

void CControlSocket::Serve(const std::function<std::string(const std::string&)>& handler) const
{
    const COpenFile peer(::accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!peer.IsOpen())
        return;
    ::setsockopt(peer.Get(), SOL_SOCKET, SO_RCVTIMEO, &kPatienceOfServer, sizeof kPatience);
    SendAll(peer.Get(), handler(ReceiveUntil(peer.Get(), '\n')));
}

std::string CControlSocket::Ask(const std::string& strPath, const std::string& strLine)
{
    const sockaddr_un address = AddressOf(strPath);
    const COpenFile server(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(server.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        Refused(strPath);
    ::setsockopt(server.Get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    SendAll(server.Get(), strLine + "\n");
    return ReceiveUntil(server.Get(), '\0');
}
