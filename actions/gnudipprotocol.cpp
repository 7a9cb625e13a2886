#include "actions/gnudipprotocol.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace quorvad
{

bool isUserPartOfHost(const std::string& a_strUsername, const std::string& a_strHostname)
{
    return a_strUsername.size() < a_strHostname.size() &&
           a_strHostname.compare(0, a_strUsername.size(), a_strUsername) == 0;
}

std::string trimSalt(std::string a_strReceived)
{
    const std::size_t uiLast = a_strReceived.find_last_not_of("\r\n");
    a_strReceived.erase(uiLast == std::string::npos ? 0 : uiLast + 1);
    return a_strReceived;
}

std::string
makeGnudipRequest(const std::string& a_strUsername, const std::string& a_strHash, const std::string& a_strHostname)
{
    // The character behind the user name separates it from the domain, whatever it is.
    const std::string strDomain = a_strHostname.substr(a_strUsername.size() + 1);
    return a_strUsername + ":" + a_strHash + ":" + strDomain + ":0";
}

EGnudipAnswer parseGnudipAnswer(const std::string& a_strAnswer, int& a_iCode)
{
    char* pEnd = nullptr;
    errno = 0;
    const long iNumber = std::strtol(a_strAnswer.c_str(), &pEnd, 10);
    if (pEnd == a_strAnswer.c_str())
    {
        return EGnudipAnswer::eNoNumber;
    }
    if (errno == ERANGE || iNumber < INT_MIN || iNumber > INT_MAX)
    {
        return EGnudipAnswer::eOutOfRange;
    }
    a_iCode = static_cast<int>(iNumber);
    return EGnudipAnswer::eCode;
}

const char* gnudipResponseText(int a_iCode)
{
    switch (a_iCode)
    {
    case g_iGnudipSuccess:
        return "Success";
    case 1:
        return "Authentication error";
    case 2:
        return "Host not found";
    case -1:
        return "General failure";
    case s_iGnudipConnectionError:
        return "Connection error";
    default:
        return "Unknown GnuDIP error";
    }
}

} // namespace quorvad
