#include "netifwatch/dnssources.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace netifwatch
{

namespace
{

constexpr std::size_t s_uiMaxBytes = 64UL * 1024UL;
constexpr std::size_t s_uiMaxServers = 16; // resolvers use three
constexpr std::string_view s_strBlanks = " \t\r";

std::string_view takeWord(std::string_view& a_strLine)
{
    const std::size_t uiBegin = std::min(a_strLine.find_first_not_of(s_strBlanks), a_strLine.size());
    a_strLine.remove_prefix(uiBegin);
    const std::size_t uiEnd = std::min(a_strLine.find_first_of(s_strBlanks), a_strLine.size());
    const std::string_view strWord = a_strLine.substr(0, uiEnd);
    a_strLine.remove_prefix(uiEnd);
    return strWord;
}

std::optional<DnsServer> parseServer(std::string_view a_strText)
{
    const std::size_t uiZone = std::min(a_strText.find('%'), a_strText.size());
    const auto oAddress = parseAddress(std::string(a_strText.substr(0, uiZone)));
    if (!oAddress)
    {
        return std::nullopt;
    }
    return DnsServer{*oAddress, std::string(a_strText.substr(std::min(uiZone + 1, a_strText.size())))};
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

std::vector<DnsServer> parseResolvConf(std::string_view a_strText)
{
    std::vector<DnsServer> oServers;
    while (!a_strText.empty() && oServers.size() < s_uiMaxServers)
    {
        const std::size_t uiEnd = std::min(a_strText.find('\n'), a_strText.size());
        std::string_view strLine = a_strText.substr(0, uiEnd);
        a_strText.remove_prefix(std::min(uiEnd + 1, a_strText.size()));
        if (takeWord(strLine) != "nameserver")
        {
            continue;
        }
        const auto oServer = parseServer(takeWord(strLine));
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
