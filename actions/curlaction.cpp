#include "actions/curlaction.h"

#include "actions/httpreply.h"
#include "actions/interfacestate.h"
#include "actions/outcomereport.h"
#include "actions/receivelimit.h"
#include "actions/updateurl.h"
#include "actions/version.h"
#include "platform/common/log.h"

#include <algorithm>
#include <chrono>
#include <curl/curl.h>
#include <exception>

namespace quorvad
{

constexpr char s_acLogFile[] = "curlaction";

constexpr std::chrono::milliseconds s_oAfterTransfer{100}; // libcurl's own limit comes first

CurlAction::CurlAction(const std::string& a_strUrl,
                       const std::string& a_strIpAddr,
                       const std::string& a_strIpAddr6,
                       const std::string& a_strDomain,
                       const std::string& a_strUsername,
                       const std::string& a_strPassword,
                       const std::string& a_strSerialNo,
                       const std::string& a_strExpectedResultSubString,
                       const std::string& a_strInterface,
                       const std::string& a_strNameservers,
                       int a_iDynDnsId)
    : m_pCurl(curl_easy_init(), curl_easy_cleanup), m_strIpAddr(a_strIpAddr), m_strIpAddr6(a_strIpAddr6),
      m_strDomain(a_strDomain), m_strUsername(a_strUsername), m_strPassword(a_strPassword),
      m_strSerialNo(a_strSerialNo), m_strExpectedResultSubString(a_strExpectedResultSubString),
      m_strInterface(a_strInterface), m_iDynDnsId(a_iDynDnsId)
{
    LOG_DEBUG("CurlAction");
    if (a_strNameservers.empty())
    {
        throw Error(Error::EmptyNameserverList);
    }
    UpdatePlaceholders(a_strUrl);
    if (!m_pCurl)
    {
        LOG_ERROR("curl_easy_init() failed");
        throw Error(Error::CurlEasyInitFailed);
    }
    configureHandle(a_strNameservers);
}

CurlAction::~CurlAction() = default;

std::string CurlAction::getUrl()
{
    return m_strUrl;
}

void CurlAction::UpdatePlaceholders(const std::string& a_strUrl)
{
    m_strUrl = fillPlaceholders(a_strUrl,
                                {m_strIpAddr, m_strIpAddr6, m_strDomain, m_strUsername, m_strPassword, m_strSerialNo});
}

void CurlAction::configureHandle(const std::string& a_strNameservers)
{
    CURL* pCurl = m_pCurl.get();
    curl_easy_setopt(pCurl, CURLOPT_URL, m_strUrl.c_str());
    curl_easy_setopt(pCurl, CURLOPT_WRITEFUNCTION, writeCallback);
    curl_easy_setopt(pCurl, CURLOPT_WRITEDATA, &m_strResponse);
    curl_easy_setopt(pCurl, CURLOPT_NOSIGNAL, 1L); // worker threads must not get SIGALRM
    curl_easy_setopt(pCurl, CURLOPT_TIMEOUT, s_iTransferSec);
    if (!m_strUsername.empty())
    {
        curl_easy_setopt(pCurl, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
        curl_easy_setopt(pCurl, CURLOPT_USERNAME, m_strUsername.c_str());
    }
    if (!m_strPassword.empty())
    {
        curl_easy_setopt(pCurl, CURLOPT_PASSWORD, m_strPassword.c_str());
    }
    curl_easy_setopt(pCurl, CURLOPT_INTERFACE, m_strInterface.c_str());
    curl_easy_setopt(pCurl, CURLOPT_DNS_INTERFACE, m_strInterface.c_str());
    setNameservers(a_strNameservers);
    curl_easy_setopt(pCurl, CURLOPT_USERAGENT, g_acUserAgent);
}

void CurlAction::setNameservers(const std::string& a_strNameservers)
{
    LOG_DEBUG("DNS servers: '%s'", a_strNameservers.c_str());
    const CURLcode eCode = curl_easy_setopt(m_pCurl.get(), CURLOPT_DNS_SERVERS, a_strNameservers.c_str());
    if (eCode != CURLE_OK)
    {
        // The transfer then uses the system's resolver, which would go unnoticed without this line.
        LOG_WARNING("Setting the DNS servers '%s' for interface '%s' was refused: '%s'. The system "
                    "resolver is used; check the DNS servers of this interface.",
                    a_strNameservers.c_str(),
                    m_strInterface.c_str(),
                    curl_easy_strerror(eCode));
    }
}

bool CurlAction::execute()
{
    LOG_DEBUG("execute");
    if (!isInterfaceRunning(m_strInterface))
    {
        LOG_ERROR("Interface '%s' is down, cannot send HTTPS update.", m_strInterface.c_str());
        return false;
    }
    LOG_DEBUG("URL: '%s'", m_strUrl.c_str());
    performTransfer();
    const long iStatus = readStatus();
    LOG_INFO("HTTPS response code: %i", static_cast<int>(iStatus));

    removeLineFeeds(m_strResponse);
    const bool bSuccess = judgeResponse(iStatus);
    LOG_DEBUG("Save DynDNS log and status");
    logResponse(bSuccess, static_cast<int>(iStatus), reportExcerpt(m_strResponse));
    return bSuccess;
}

void CurlAction::performTransfer()
{
    m_strResponse.clear();
    // TLS messages that mean nothing are read on and on inside libcurl while they come without a pause.
    const ReceiveLimit oLimit(std::chrono::seconds(s_iTransferSec) + s_oAfterTransfer);
    const CURLcode eCode = curl_easy_perform(m_pCurl.get());
    if (eCode != CURLE_OK)
    {
        const std::string strReason = curl_easy_strerror(eCode);
        LOG_ERROR("curl_easy_perform() failed: '%s'", strReason.c_str());
        logResponse(false, 0, "Connection error: " + strReason);
        throw Error(Error::CurlEasyPerformFailed);
    }
    LOG_INFO("HTTPS update sent");
}

long CurlAction::readStatus()
{
    long iStatus = 0;
    const CURLcode eCode = curl_easy_getinfo(m_pCurl.get(), CURLINFO_RESPONSE_CODE, &iStatus);
    if (eCode != CURLE_OK)
    {
        LOG_ERROR("Failed to get HTTPS response code");
        logResponse(false, 0, std::string("Connection error: ") + curl_easy_strerror(eCode));
        throw Error(Error::CurlEasyGetinfoFailed);
    }
    return iStatus;
}

bool CurlAction::judgeResponse(long a_iStatus) const
{
    const std::string strExcerpt = shortExcerpt(m_strResponse);
    const EHttpVerdict eVerdict =
        judgeReply(a_iStatus, m_strResponse, {m_strExpectedResultSubString, m_strUnchangedResultSubString});
    switch (eVerdict)
    {
    case EHttpVerdict::eStatusOk:
    case EHttpVerdict::eStatusRefused:
        break;
    case EHttpVerdict::eEmptyBody:
        LOG_ERROR("HTTPS response is empty");
        break;
    case EHttpVerdict::eTextFound:
    case EHttpVerdict::eUnchanged:
        LOG_DEBUG("HTTPS response: '%s'", strExcerpt.c_str());
        break;
    case EHttpVerdict::eTextMissing:
        LOG_WARNING("HTTPS response body does not contain expected substring (%s)",
                    m_strExpectedResultSubString.c_str());
        LOG_INFO("Received: '%s'", strExcerpt.c_str());
        break;
    }
    return isAccepted(eVerdict);
}

void CurlAction::logResponse(bool a_bSuccess, int a_iResponseCode, const std::string& a_strResponse)
{
    LOG_DEBUG("logResponse");
    reportOutcome(m_iDynDnsId, a_bSuccess, a_iResponseCode, a_strResponse);
}

std::size_t CurlAction::writeCallback(char* a_pData, std::size_t a_uiSize, std::size_t a_uiCount, void* a_pTarget)
{
    const std::size_t uiBytes = a_uiSize * a_uiCount;
    auto& strTarget = *static_cast<std::string*>(a_pTarget);
    const std::size_t uiRoom = s_uiMaxResponseBytes - std::min(strTarget.size(), s_uiMaxResponseBytes);
    try
    {
        strTarget.append(a_pData, std::min(uiBytes, uiRoom));
    }
    catch (const std::exception&)
    {
        // Out of memory: judge by what is there. No exception may pass through libcurl.
    }
    return uiBytes;
}

} // namespace quorvad
