#pragma once

#include "actions/action.h"

#include <cstddef>
#include <memory>
#include <string>

namespace quorvad
{

/// Update by one HTTP(S) GET of a URL made from the user's template. The request leaves through the account's
/// interface; its host name is resolved through the given DNS servers.
class CurlAction : public Action
{
public:
    /// The time limit of one attempt, from the look-up of the name to the end of the reply, in seconds.
    static constexpr long s_iTransferSec = 10;
    /// How much of a reply's body is kept; the rest is read and dropped, so that an endless body does not exhaust
    /// memory.
    static constexpr std::size_t s_uiMaxResponseBytes = std::size_t{1024} * 1024;

    /// @param a_strUrl template with placeholders (actions/updateurl.h); replaced literally
    /// @param a_strIpAddr6 may be empty
    /// @param a_strExpectedResultSubString text that an accepting reply contains; empty: status 200 decides
    /// @param a_strNameservers DNS servers, separated by commas; empty throws Error(EmptyNameserverList)
    /// Throws Error(CurlEasyInitFailed) if libcurl returns no handle. Needs a LibWrapper to exist.
    CurlAction(const std::string& a_strUrl,
               const std::string& a_strIpAddr,
               const std::string& a_strIpAddr6,
               const std::string& a_strDomain,
               const std::string& a_strUsername,
               const std::string& a_strPassword,
               const std::string& a_strSerialNo,
               const std::string& a_strExpectedResultSubString,
               const std::string& a_strInterface,
               const std::string& a_strNameservers,
               int a_iDynDnsId);
    ~CurlAction() override;

    /// The text by which the provider says that it had the address already, which counts as success where a text is
    /// expected; empty (the default): none. To be called before the action runs.
    void setUnchangedText(const std::string& a_strText) { m_strUnchangedResultSubString = a_strText; }

    /// Blocks for at most s_iTransferSec. Throws Error (CurlEasyPerformFailed, CurlEasyGetinfoFailed) after the outcome
    /// was reported. An interface that is not up and running gives false without a report.
    [[nodiscard]] bool execute() override;
    [[nodiscard]] std::string getUrl() override;

    void UpdatePlaceholders(const std::string& a_strUrl);
    void logResponse(bool a_bSuccess, int a_iResponseCode, const std::string& a_strResponse);

    /// libcurl's write function; a_pTarget is a std::string. Always accepts all bytes, keeps up to the limit.
    static std::size_t writeCallback(char* a_pData, std::size_t a_uiSize, std::size_t a_uiCount, void* a_pTarget);

    std::unique_ptr<void, void (*)(void*)> m_pCurl;
    std::string m_strResponse;
    std::string m_strIpAddr;
    std::string m_strIpAddr6;
    std::string m_strDomain;
    std::string m_strUsername;
    std::string m_strPassword;
    std::string m_strSerialNo;
    std::string m_strUrl;
    std::string m_strExpectedResultSubString;
    std::string m_strInterface;
    int m_iDynDnsId;
    std::string m_strUnchangedResultSubString;

private:
    void configureHandle(const std::string& a_strNameservers);
    void setNameservers(const std::string& a_strNameservers);
    void performTransfer();
    [[nodiscard]] long readStatus();
    [[nodiscard]] bool judgeResponse(long a_iStatus) const;
};

} // namespace quorvad
