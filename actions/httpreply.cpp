#include "actions/httpreply.h"

#include <algorithm>

namespace quorvad
{

namespace
{

constexpr long s_iHttpOk = 200;
constexpr std::size_t s_uiShortBytes = 100;
constexpr std::size_t s_uiReportBytes = 200;

void appendEscaped(std::string& a_strText, char a_cByte)
{
    switch (a_cByte)
    {
    case '&':
        a_strText += "&amp;";
        break;
    case '<':
        a_strText += "&lt;";
        break;
    case '>':
        a_strText += "&gt;";
        break;
    case '"':
        a_strText += "&quot;";
        break;
    case '\'':
        a_strText += "&#39;";
        break;
    default:
        a_strText += a_cByte;
    }
}

} // namespace

void removeLineFeeds(std::string& a_strBody)
{
    a_strBody.erase(std::remove(a_strBody.begin(), a_strBody.end(), '\n'), a_strBody.end());
}

std::string shortExcerpt(const std::string& a_strBody)
{
    return a_strBody.substr(0, s_uiShortBytes);
}

std::string reportExcerpt(const std::string& a_strBody)
{
    std::string strEscaped;
    for (const char cByte : a_strBody.substr(0, s_uiReportBytes))
    {
        appendEscaped(strEscaped, cByte);
    }
    return strEscaped;
}

EHttpVerdict judgeReply(long a_iStatus, const std::string& a_strBody, const std::string& a_strExpected)
{
    if (a_strExpected.empty())
    {
        return a_iStatus == s_iHttpOk ? EHttpVerdict::eStatusOk : EHttpVerdict::eStatusRefused;
    }
    if (a_strBody.empty())
    {
        return EHttpVerdict::eEmptyBody;
    }
    return a_strBody.find(a_strExpected) != std::string::npos ? EHttpVerdict::eTextFound : EHttpVerdict::eTextMissing;
}

} // namespace quorvad
