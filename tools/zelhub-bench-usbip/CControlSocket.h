#pragma once

#include "tools/zelhub-bench-usbip/COpenFile.h"

#include <functional>
#include <string>

/// How a person or a test acts on what is served: a line in, lines out, over a local socket.
class CControlSocket
{
public:
    /// Listens; what stood at the path is replaced. Throws CToolError when it cannot.
    explicit CControlSocket(std::string strPath);
    ~CControlSocket();
    CControlSocket(const CControlSocket&) = delete;
    CControlSocket& operator=(const CControlSocket&) = delete;

    int Socket() const { return m_socket.Get(); }

    /// Takes one connection, hands its line to the handler and sends back what that returns.
    void Serve(const std::function<std::string(const std::string&)>& handler) const;

    /// The other side. @return the answer; throws CToolError when nobody listens
    static std::string Ask(const std::string& strPath, const std::string& strLine);

private:
    std::string m_strPath;
    COpenFile m_socket;
};
