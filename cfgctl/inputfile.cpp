#include "cfgctl/inputfile.h"

#include "cfgctl/errors.h"
#include "platform/base/uniquefd.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiValueLimit = 64UL * 1024UL;

[[noreturn]] void fail(const std::string& a_strPath, const char* a_pReason)
{
    throw Failure("Can't read " + (a_strPath == "-" ? std::string("standard input") : "'" + a_strPath + "'") + ": " +
                  a_pReason);
}

ssize_t readSome(int a_iFd, char* a_pBuffer, std::size_t a_uiSize)
{
    ssize_t iRead = 0;
    do
    {
        iRead = read(a_iFd, a_pBuffer, a_uiSize);
    } while (iRead < 0 && errno == EINTR);
    return iRead;
}

void dropLineEnd(std::string& a_strText)
{
    if (!a_strText.empty() && a_strText.back() == '\n')
    {
        a_strText.pop_back();
        if (!a_strText.empty() && a_strText.back() == '\r')
        {
            a_strText.pop_back();
        }
    }
}

} // namespace

std::string readFile(const std::string& a_strPath, std::size_t a_uiLimit)
{
    const bool bOpen = a_strPath != "-";
    const platform::UniqueFd oFile(bOpen ? open(a_strPath.c_str(), O_RDONLY | O_CLOEXEC) : -1);
    if (bOpen && !oFile.isOpen())
    {
        fail(a_strPath, std::strerror(errno));
    }
    const int iFd = bOpen ? oFile.get() : STDIN_FILENO;
    std::string strContent;
    std::array<char, 16384> oBuffer{};
    ssize_t iRead = 0;
    while ((iRead = readSome(iFd, oBuffer.data(), oBuffer.size())) > 0)
    {
        strContent.append(oBuffer.data(), static_cast<std::size_t>(iRead));
        if (strContent.size() > a_uiLimit)
        {
            fail(a_strPath, ("it is larger than " + std::to_string(a_uiLimit) + " bytes").c_str());
        }
    }
    if (iRead < 0)
    {
        fail(a_strPath, std::strerror(errno));
    }
    return strContent;
}

std::string readValue(const std::string& a_strPath)
{
    std::string strValue = readFile(a_strPath, s_uiValueLimit);
    dropLineEnd(strValue);
    return strValue;
}

void readValues(std::vector<Assignment>& a_oAssignments)
{
    for (Assignment& oAssignment : a_oAssignments)
    {
        if (oAssignment.m_bFromFile)
        {
            oAssignment.m_strValue = readValue(oAssignment.m_strValue);
            oAssignment.m_bFromFile = false;
        }
    }
}

} // namespace cfgctl
