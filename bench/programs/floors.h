#pragma once

#include <cstddef>
#include <string>

namespace bench
{

/// One GET with a fresh libcurl handle that knows one certificate and nothing else. Needs curl_global_init().
void httpsFloor(const std::string& a_strUrl, const std::string& a_strCertificate);

/// One accepted GnuDIP exchange: connect, read, write, read.
void gnudipFloor(const std::string& a_strAddress,
                 const std::string& a_strUser,
                 const std::string& a_strDomain,
                 const std::string& a_strPassword);

/// A child process at the other end of a Unix socket that answers each byte with the given number of bytes.
class Echo
{
public:
    explicit Echo(std::size_t a_uiBytes);
    ~Echo();
    Echo(const Echo&) = delete;
    Echo& operator=(const Echo&) = delete;

    /// Sends a request and reads the whole answer.
    void ask();

private:
    std::size_t m_uiBytes;
    int m_iSocket;
    int m_iChild;
};

} // namespace bench
