#pragma once

#include "actions/action.h"

#include <memory>
#include <string>

namespace quorvad
{

class DnsResolver;

/// Update by the GnuDIP salted-MD5 exchange over one TCP connection to port 3495. The address that the server sees is
/// the connection's source address, fixed by binding to the interface's IPv4 address.
class GnudipAction : public Action
{
public:
    /// @param a_strServer name or IPv4 address of the GnuDIP server
    /// @param a_strInterface the interface for DNS queries
    /// @param a_strLocalAddr IPv4 address of that interface, dotted
    /// @param a_strHostname user name, one separator character, GnuDIP domain
    /// @param a_strNameservers DNS servers, separated by commas
    /// Throws Error (EmptyNameserverList, GnudipDomainTooShort, AresChannelInitFailed). Needs a LibWrapper to exist.
    GnudipAction(const std::string& a_strServer,
                 const std::string& a_strInterface,
                 const std::string& a_strLocalAddr,
                 const std::string& a_strHostname,
                 const std::string& a_strUsername,
                 const std::string& a_strPassword,
                 const std::string& a_strNameservers,
                 int a_iDynDnsId);
    ~GnudipAction() override;

    /// Blocks for the name look-up, the system's TCP connect limit and at most 10 seconds for each of three waits.
    [[nodiscard]] bool execute() override;

    /// Opens, binds and connects m_iSocket; on failure no socket is left open.
    [[nodiscard]] bool connectToServer();
    /// Failures are only logged: a lost request shows up as a missing answer.
    void sendToServer(const std::string& a_strText);
    /// Bytes received into m_acBuffer, or 0 when nothing arrived; the buffer's text always ends with a zero byte.
    [[nodiscard]] int receiveFromServer();
    void logResponse(int a_iResponseCode);

    std::string m_strUsername;
    std::string m_strPassword;
    std::string m_strHostname;
    std::string m_strServer;
    std::string m_strLocalAddr;
    int m_iSocket;
    char m_acBuffer[1024];
    std::unique_ptr<DnsResolver> m_pResolver;
    int m_iDynDnsId;

private:
    class SocketGuard;

    [[nodiscard]] bool bindSocket();
    [[nodiscard]] bool connectSocket();
    void closeSocket();
    void logReceived(int a_iBytes);
    void sendRequest(const std::string& a_strSalt);
    [[nodiscard]] bool evaluateAnswer(const std::string& a_strAnswer);
};

} // namespace quorvad
