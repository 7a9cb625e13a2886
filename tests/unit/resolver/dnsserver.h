#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

/// Answers DNS queries on port 53 of a loopback address by the name's first label: "aN" has the addresses 10.0.0.N and
/// 10.0.1.N, "none" none; every other name doesn't exist.
class DnsServer
{
public:
    explicit DnsServer(const char* a_pAddress) : m_iSocket(socket(AF_INET, SOCK_DGRAM, 0))
    {
        sockaddr_in oAddress = {};
        oAddress.sin_family = AF_INET;
        oAddress.sin_port = htons(53);
        inet_pton(AF_INET, a_pAddress, &oAddress.sin_addr);
        m_bReady = bind(m_iSocket, reinterpret_cast<sockaddr*>(&oAddress), sizeof(oAddress)) == 0;
        m_oThread = std::thread([this] { run(); });
    }

    ~DnsServer()
    {
        m_bReady ? shutdown(m_iSocket, SHUT_RDWR) : 0; // ends recvfrom()
        m_oThread.join();
        close(m_iSocket);
    }

    bool m_bReady;

private:
    void run() const
    {
        char acQuery[512];
        sockaddr_in oPeer = {};
        for (;;)
        {
            socklen_t uiLength = sizeof(oPeer);
            const ssize_t iBytes =
                m_bReady
                    ? recvfrom(m_iSocket, acQuery, sizeof(acQuery), 0, reinterpret_cast<sockaddr*>(&oPeer), &uiLength)
                    : 0;
            if (iBytes <= 12)
            {
                return;
            }
            const std::string strAnswer = answer(std::string(acQuery, static_cast<std::size_t>(iBytes)));
            sendto(m_iSocket, strAnswer.data(), strAnswer.size(), 0, reinterpret_cast<sockaddr*>(&oPeer), uiLength);
        }
    }

    static std::string answer(const std::string& a_strQuery)
    {
        const std::string strLabel = a_strQuery.substr(13, static_cast<unsigned char>(a_strQuery[12]));
        const bool bFound = strLabel[0] == 'a';
        const std::size_t uiQuestionEnd = a_strQuery.find('\0', 12) + 5;
        std::string strReply = a_strQuery.substr(0, 2) + "\x81" + (bFound || strLabel == "none" ? "\x80" : "\x83");
        strReply += std::string("\0\1\0", 3) + (bFound ? '\2' : '\0') + std::string(4, '\0');
        strReply += a_strQuery.substr(12, uiQuestionEnd - 12);
        for (char cNet = 0; bFound && cNet < 2; ++cNet)
        {
            strReply += std::string("\xc0\x0c\0\1\0\1\0\0\0\x3c\0\4\x0a\0", 14) + cNet;
            strReply += static_cast<char>(std::stoi(strLabel.substr(1)));
        }
        return strReply;
    }

    int m_iSocket;
    std::thread m_oThread;
};
