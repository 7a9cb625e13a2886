#include "bench/programs/floors.h"

#include "actions/gnudipprotocol.h"
#include "bench/programs/measure.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <vector>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{

namespace
{

constexpr int s_iGnudipPort = 3495;

std::size_t discard(char* /*a_pData*/, std::size_t a_uiSize, std::size_t a_uiCount, void* /*a_pTarget*/)
{
    return a_uiSize * a_uiCount;
}

std::string receive(int a_iSocket)
{
    std::array<char, 1024> acBytes = {};
    const ssize_t iRead = recv(a_iSocket, acBytes.data(), acBytes.size(), 0);
    return std::string(acBytes.data(), static_cast<std::size_t>(std::max<ssize_t>(iRead, 0)));
}

[[noreturn]] void answer(int a_iSocket, std::size_t a_uiBytes)
{
    const std::vector<char> oAnswer(a_uiBytes, 'x');
    char cRequest = 0;
    while (read(a_iSocket, &cRequest, 1) == 1)
    {
        for (std::size_t uiSent = 0; uiSent < a_uiBytes;)
        {
            const ssize_t iSent = write(a_iSocket, oAnswer.data() + uiSent, a_uiBytes - uiSent);
            if (iSent <= 0)
            {
                _exit(1);
            }
            uiSent += static_cast<std::size_t>(iSent);
        }
    }
    _exit(0);
}

} // namespace

void httpsFloor(const std::string& a_strUrl, const std::string& a_strCertificate)
{
    CURL* pCurl = curl_easy_init();
    curl_easy_setopt(pCurl, CURLOPT_URL, a_strUrl.c_str());
    curl_easy_setopt(pCurl, CURLOPT_WRITEFUNCTION, discard);
    curl_easy_setopt(pCurl, CURLOPT_CAINFO, a_strCertificate.c_str());
    const CURLcode eCode = curl_easy_perform(pCurl);
    curl_easy_cleanup(pCurl);
    if (eCode != CURLE_OK)
    {
        fail(std::string("The minimal HTTPS request failed: ") + curl_easy_strerror(eCode));
    }
}

void gnudipFloor(const std::string& a_strAddress,
                 const std::string& a_strUser,
                 const std::string& a_strDomain,
                 const std::string& a_strPassword)
{
    sockaddr_in oAddress = {};
    oAddress.sin_family = AF_INET;
    oAddress.sin_port = htons(s_iGnudipPort);
    inet_pton(AF_INET, a_strAddress.c_str(), &oAddress.sin_addr);
    const int iSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::string strAnswer;
    if (connect(iSocket, reinterpret_cast<const sockaddr*>(&oAddress), sizeof oAddress) == 0)
    {
        const std::string strSalt = quorvad::trimSalt(receive(iSocket));
        const std::string strHash = quorvad::md5Hex(quorvad::makeHashInput(a_strPassword, strSalt));
        const std::string strRequest = a_strUser + ":" + strHash + ":" + a_strDomain + ":0\n";
        send(iSocket, strRequest.data(), strRequest.size(), MSG_NOSIGNAL);
        strAnswer = receive(iSocket);
    }
    close(iSocket);
    if (strAnswer != "0\n")
    {
        fail("The minimal GnuDIP exchange failed: '" + strAnswer + "'");
    }
}

Echo::Echo(std::size_t a_uiBytes) : m_uiBytes(a_uiBytes), m_iSocket(-1), m_iChild(-1)
{
    std::array<int, 2> oPair = {};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, oPair.data()) != 0 || (m_iChild = fork()) < 0)
    {
        fail("No socket pair or no child process.");
    }
    if (m_iChild == 0)
    {
        close(oPair[0]);
        answer(oPair[1], a_uiBytes);
    }
    close(oPair[1]);
    m_iSocket = oPair[0];
}

Echo::~Echo()
{
    close(m_iSocket); // which ends the child
    waitpid(m_iChild, nullptr, 0);
}

void Echo::ask()
{
    std::array<char, 65536> acBytes; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    if (write(m_iSocket, "?", 1) != 1)
    {
        fail("The echo is gone.");
    }
    for (std::size_t uiRead = 0; uiRead < m_uiBytes;)
    {
        const ssize_t iRead = read(m_iSocket, acBytes.data(), acBytes.size());
        if (iRead <= 0)
        {
            fail("The echo is gone.");
        }
        uiRead += static_cast<std::size_t>(iRead);
    }
}

} // namespace bench
