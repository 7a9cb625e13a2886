#pragma once

#include "status/statusinfolog.h"
#include "tests/unit/support/logcapture.h"
#include "vadro/basic/singletonadapter.h"
#include "vadro/lock/nullmutex.h"

#include <arpa/inet.h>
#include <functional>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

/// Accepts TCP connections on a loopback address and hands each to a function, on a thread of its own.
class LocalServer
{
public:
    LocalServer(const char* a_pAddress, std::uint16_t a_uiPort, std::function<void(int)> a_oServe)
        : m_iListener(socket(AF_INET, SOCK_STREAM, 0))
    {
        const int iYes = 1;
        setsockopt(m_iListener, SOL_SOCKET, SO_REUSEADDR, &iYes, sizeof(iYes));
        sockaddr_in oAddress = {};
        oAddress.sin_family = AF_INET;
        oAddress.sin_port = htons(a_uiPort);
        inet_pton(AF_INET, a_pAddress, &oAddress.sin_addr);
        socklen_t uiLength = sizeof(oAddress);
        EXPECT_EQ(bind(m_iListener, reinterpret_cast<sockaddr*>(&oAddress), uiLength), 0) << "port " << a_uiPort;
        EXPECT_EQ(listen(m_iListener, 8), 0);
        getsockname(m_iListener, reinterpret_cast<sockaddr*>(&oAddress), &uiLength);
        m_uiPort = ntohs(oAddress.sin_port);
        m_oThread = std::thread([this, oServe = std::move(a_oServe)] { run(oServe); });
    }

    ~LocalServer()
    {
        shutdown(m_iListener, SHUT_RDWR); // ends accept()
        m_oThread.join();
        close(m_iListener);
    }

    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(m_uiPort); }

private:
    void run(const std::function<void(int)>& a_oServe) const
    {
        for (int iPeer = accept(m_iListener, nullptr, nullptr); iPeer >= 0;
             iPeer = accept(m_iListener, nullptr, nullptr))
        {
            const timeval oLimit = {20, 0}; // nothing here may block for longer
            setsockopt(iPeer, SOL_SOCKET, SO_RCVTIMEO, &oLimit, sizeof(oLimit));
            setsockopt(iPeer, SOL_SOCKET, SO_SNDTIMEO, &oLimit, sizeof(oLimit));
            a_oServe(iPeer);
            close(iPeer);
        }
    }

    int m_iListener;
    std::uint16_t m_uiPort = 0;
    std::thread m_oThread;
};

/// Reads until a_strEnd has come or the peer closes.
inline std::string readUntil(int a_iPeer, const std::string& a_strEnd)
{
    std::string strText;
    char cByte = 0;
    while (strText.find(a_strEnd) == std::string::npos && recv(a_iPeer, &cByte, 1, 0) == 1)
    {
        strText += cByte;
    }
    return strText;
}

inline void sendAll(int a_iPeer, const std::string& a_strText)
{
    EXPECT_EQ(send(a_iPeer, a_strText.data(), a_strText.size(), MSG_NOSIGNAL), static_cast<ssize_t>(a_strText.size()));
}

inline std::string rowText(const quorvad::ConfigObject& a_oRow, std::string& a_strTime)
{
    std::string strText;
    for (const auto& [strName, oValue] : a_oRow.m_oLastSnapshot)
    {
        const bool bTime = strName == "Timestamp";
        a_strTime = bTime && a_strTime.empty() ? oValue.getText() : a_strTime;
        strText += strName + (oValue.getType() == korrin::eValueInteger ? "#" : "=");
        strText += (bTime && oValue.getText() == a_strTime ? "T" : oValue.getText()) + " ";
    }
    return strText;
}

/// The rows that actions have reported since the last call, as one text; empty if there are none. T stands for the
/// time, which both rows of a report share.
inline std::string takeReport()
{
    auto& oStore = vadro::basic::SingletonAdapter<quorvad::StatusInfoLog, vadro::lock::NullMutex>::instance();
    std::string strReport;
    std::string strTime;
    for (const auto& oLog : oStore.getLogs())
    {
        strReport += rowText(oLog, strTime);
    }
    for (const auto& [iId, oStatus] : oStore.getStatus())
    {
        strReport += "| " + rowText(oStatus, strTime);
    }
    return strReport;
}

inline std::string expectedReport(int a_iId, int a_iCode, const std::string& a_strResponse, bool a_bSuccess)
{
    const std::string strId = "DynDnsId#" + std::to_string(a_iId) + " Timestamp=T ";
    return strId + "ResponseCode#" + std::to_string(a_iCode) + " Response=" + a_strResponse + " | " + strId +
           "Success#" + (a_bSuccess ? "1 " : "0 ");
}
