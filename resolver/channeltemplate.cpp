#include "resolver/channeltemplate.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <utility>

namespace quorvad
{

namespace
{

/// What c-ares does not report (a failure to read a file) and what stat does not show count no longer than this.
constexpr std::int64_t s_iKeepSec = 60;

std::int64_t seconds(clockid_t a_iClock)
{
    timespec oNow = {};
    clock_gettime(a_iClock, &oNow);
    return oNow.tv_sec;
}

bool isReadable(const char* a_pPath)
{
    const int iFile = open(a_pPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return iFile < 0 ? errno == ENOENT : close(iFile) == 0;
}

/// The options of a channel hold only servers with an IPv4 address and the usual port.
bool fitsOptions(const ares_addr_port_node* a_pServers)
{
    for (; a_pServers != nullptr; a_pServers = a_pServers->next)
    {
        if (a_pServers->family != AF_INET || a_pServers->udp_port != 0 || a_pServers->tcp_port != 0)
        {
            return false;
        }
    }
    return true;
}

} // namespace

ChannelTemplate::ChannelTemplate(const Paths& a_oPaths, Parser a_oParse, std::int64_t a_iTickSec)
    : m_oPaths(a_oPaths), m_oParse(std::move(a_oParse)), m_iTickSec(a_iTickSec)
{
}

ChannelTemplate::~ChannelTemplate()
{
    forget();
}

ChannelTemplate& ChannelTemplate::shared()
{
    static ChannelTemplate s_oTemplate({"/etc/resolv.conf", "/etc/nsswitch.conf", "/etc/host.conf", "/etc/svc.conf"});
    return s_oTemplate;
}

int ChannelTemplate::make(ares_channel* a_ppChannel, ares_sock_state_cb a_pCallback, void* a_pData)
{
    const std::lock_guard<std::mutex> oLock(m_oMutex);
    Sources oSources = look();
    if (!isCurrent(oSources))
    {
        const int iStatus = parse(oSources);
        if (iStatus != ARES_SUCCESS)
        {
            return iStatus;
        }
        m_oSources = std::move(oSources);
    }
    return copy(a_ppChannel, a_pCallback, a_pData);
}

ChannelTemplate::Sources ChannelTemplate::look() const
{
    Sources oFound = {};
    for (std::size_t uiFile = 0; uiFile < m_oPaths.size(); ++uiFile)
    {
        oFound.m_oFiles[uiFile] = platform::stampOf(m_oPaths[uiFile]);
    }
    utsname oNames = {};
    uname(&oNames); // part of the name is the search list where the files have none
    oFound.m_strHost = static_cast<const char*>(oNames.nodename);
    return oFound;
}

bool ChannelTemplate::isCurrent(const Sources& a_oSources) const
{
    return seconds(CLOCK_MONOTONIC) < m_iGoodUntil && a_oSources.m_strHost == m_oSources.m_strHost &&
           a_oSources.m_oFiles == m_oSources.m_oFiles;
}

/// Not when a file has just been changed, or when one cannot be opened, for instance for lack of descriptors: c-ares
/// then uses its defaults, which is right for one channel, but no reason to do so for others.
bool ChannelTemplate::mayBeKept(const Sources& a_oSources) const
{
    const std::int64_t iNow = seconds(CLOCK_REALTIME);
    bool bMay = true;
    for (std::size_t uiFile = 0; bMay && uiFile < m_oPaths.size(); ++uiFile)
    {
        bMay = a_oSources.m_oFiles[uiFile].m_oChanged.tv_sec < iNow - m_iTickSec && isReadable(m_oPaths[uiFile]);
    }
    return bMay;
}

int ChannelTemplate::parse(const Sources& a_oSources)
{
    forget();
    ares_channel pParsed = nullptr;
    int iStatus = m_oParse(&pParsed);
    if (iStatus != ARES_SUCCESS)
    {
        return iStatus;
    }
    iStatus = ares_save_options(pParsed, &m_oSettings.m_oOptions, &m_oSettings.m_iMask);
    if (iStatus == ARES_SUCCESS)
    {
        iStatus = ares_get_servers_ports(pParsed, &m_oSettings.m_pServers);
    }
    ares_destroy(pParsed);
    if (iStatus == ARES_SUCCESS && mayBeKept(a_oSources))
    {
        m_iGoodUntil = seconds(CLOCK_MONOTONIC) + s_iKeepSec;
    }
    return iStatus;
}

void ChannelTemplate::forget()
{
    ares_destroy_options(&m_oSettings.m_oOptions);
    ares_free_data(m_oSettings.m_pServers);
    m_oSettings = {};
    m_iGoodUntil = 0;
}

int ChannelTemplate::copy(ares_channel* a_ppChannel, ares_sock_state_cb a_pCallback, void* a_pData)
{
    ares_options oOptions = m_oSettings.m_oOptions; // c-ares copies what it points to
    oOptions.sock_state_cb = a_pCallback;
    oOptions.sock_state_cb_data = a_pData;
    int iStatus = ares_init_options(a_ppChannel, &oOptions, m_oSettings.m_iMask | ARES_OPT_SOCK_STATE_CB);
    if (iStatus == ARES_SUCCESS && !fitsOptions(m_oSettings.m_pServers))
    {
        iStatus = ares_set_servers_ports(*a_ppChannel, m_oSettings.m_pServers);
        if (iStatus != ARES_SUCCESS)
        {
            ares_destroy(*a_ppChannel);
        }
    }
    return iStatus;
}

} // namespace quorvad
