#include "netifwatch/dnssources.h"

#include <algorithm>
#include <fstream>
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

std::vector<DnsServer> readServers(const std::string& a_strPath)
{
    std::ifstream oFile(a_strPath, std::ios::binary);
    std::string strText(s_uiMaxBytes, '\0');
    oFile.read(strText.data(), static_cast<std::streamsize>(strText.size()));
    strText.resize(static_cast<std::size_t>(oFile.gcount()));
    return parseResolvConf(strText);
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

std::vector<DnsServer> readResolvConf(const std::string& a_strPath)
{
    std::vector<DnsServer> oServers = readServers(a_strPath);
    const bool bStub = !oServers.empty() &&
                       std::all_of(oServers.begin(),
                                   oServers.end(),
                                   [](const DnsServer& a_oServer) { return isOfThisMachine(a_oServer.m_oAddress); });
    if (!bStub)
    {
        return oServers;
    }
    std::vector<DnsServer> oBehind = readServers(g_pResolvedFile);
    return oBehind.empty() ? oServers : oBehind;
}

} // namespace netifwatch
