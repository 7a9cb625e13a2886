#include "netifwatch/dnssources.h"

#include "platform/common/file.h"
#include "vadro/sysloglevel.h"

#include <algorithm>
#include <cerrno>
#include <sstream>

namespace netifwatch
{

namespace
{

constexpr std::size_t s_uiMaxBytes = 64UL * 1024UL;
constexpr std::size_t s_uiMaxServers = 16; // resolvers use three

std::optional<DnsServer> parseServer(const std::string& a_strText)
{
    const std::size_t uiZone = std::min(a_strText.find('%'), a_strText.size());
    const auto oAddress = parseAddress(a_strText.substr(0, uiZone));
    if (!oAddress)
    {
        return std::nullopt;
    }
    return DnsServer{*oAddress, a_strText.substr(std::min(uiZone + 1, a_strText.size()))};
}

/// Of a file that is too large, the first bytes count.
std::vector<DnsServer> readServers(const std::string& a_strPath, std::vector<std::string>& a_oProblems)
{
    const platform::FileContent oContent = platform::readFile(a_strPath, s_uiMaxBytes);
    if (oContent.m_iError != 0 && oContent.m_iError != EFBIG && !oContent.isAbsent())
    {
        const VAStr oText("Cannot read DNS servers from %s: %s. None is taken from there until it is a readable file.",
                          a_strPath.c_str(),
                          oContent.m_strFailure.c_str());
        a_oProblems.emplace_back(oText);
    }
    return parseResolvConf(oContent.m_strBytes);
}

} // namespace

std::vector<DnsServer> parseResolvConf(const std::string& a_strText)
{
    std::vector<DnsServer> oServers;
    std::istringstream oText(a_strText);
    for (std::string strLine; oServers.size() < s_uiMaxServers && std::getline(oText, strLine);)
    {
        std::istringstream oLine(strLine);
        std::string strKeyword;
        std::string strServer;
        oLine >> strKeyword >> strServer;
        const auto oServer = strKeyword == "nameserver" ? parseServer(strServer) : std::nullopt;
        if (oServer && std::find(oServers.begin(), oServers.end(), *oServer) == oServers.end())
        {
            oServers.push_back(*oServer);
        }
    }
    return oServers;
}

std::vector<DnsServer>
readResolvConf(const std::string& a_strPath, std::vector<std::string>& a_oProblems, const std::string& a_strBehindStub)
{
    std::vector<DnsServer> oServers = readServers(a_strPath, a_oProblems);
    const bool bStub = !oServers.empty() &&
                       std::all_of(oServers.begin(),
                                   oServers.end(),
                                   [](const DnsServer& a_oServer) { return isOfThisMachine(a_oServer.m_oAddress); });
    if (!bStub)
    {
        return oServers;
    }
    std::vector<DnsServer> oBehind = readServers(a_strBehindStub, a_oProblems);
    return oBehind.empty() ? oServers : oBehind;
}

} // namespace netifwatch
