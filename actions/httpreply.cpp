#include "actions/httpreply.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace quorvad
{

namespace
{

constexpr long s_iHttpOk = 200;
constexpr std::size_t s_uiShortBytes = 100;
constexpr std::size_t s_uiReportBytes = 200;

/// The special characters of HTML and their entities.
constexpr std::pair<char, const char*> s_oEntities[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};

std::string escapeHtml(const std::string& a_strText)
{
    std::string strEscaped;
    for (const char cByte : a_strText)
    {
        const auto* const pEntity = std::find_if(
            std::begin(s_oEntities), std::end(s_oEntities), [&](const auto& a_oOne) { return a_oOne.first == cByte; });
        pEntity != std::end(s_oEntities) ? strEscaped += pEntity->second : strEscaped += cByte;
    }
    return strEscaped;
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
    return escapeHtml(a_strBody.substr(0, s_uiReportBytes));
}

std::string unescapeHtml(const std::string& a_strEscaped)
{
    std::string strText;
    for (std::size_t uiAt = 0; uiAt < a_strEscaped.size();)
    {
        const auto* const pEntity =
            std::find_if(std::begin(s_oEntities),
                         std::end(s_oEntities),
                         [&](const auto& a_oOne)
                         { return a_strEscaped.compare(uiAt, std::strlen(a_oOne.second), a_oOne.second) == 0; });
        const bool bEntity = pEntity != std::end(s_oEntities);
        strText += bEntity ? pEntity->first : a_strEscaped[uiAt];
        uiAt += bEntity ? std::strlen(pEntity->second) : 1;
    }
    return strText;
}

EHttpVerdict judgeReply(long a_iStatus, const std::string& a_strBody, const AcceptingTexts& a_oTexts)
{
    const auto contains = [&](const std::string& a_strText) { return a_strBody.find(a_strText) != std::string::npos; };
    if (a_oTexts.m_strExpected.empty())
    {
        return a_iStatus == s_iHttpOk ? EHttpVerdict::eStatusOk : EHttpVerdict::eStatusRefused;
    }
    if (a_strBody.empty())
    {
        return EHttpVerdict::eEmptyBody;
    }
    if (contains(a_oTexts.m_strExpected))
    {
        return EHttpVerdict::eTextFound;
    }
    const bool bUnchanged = !a_oTexts.m_strUnchanged.empty() && contains(a_oTexts.m_strUnchanged);
    return bUnchanged ? EHttpVerdict::eUnchanged : EHttpVerdict::eTextMissing;
}

bool isAccepted(EHttpVerdict a_eVerdict)
{
    return a_eVerdict == EHttpVerdict::eStatusOk || a_eVerdict == EHttpVerdict::eTextFound ||
           a_eVerdict == EHttpVerdict::eUnchanged;
}

std::optional<EHttpVerdict>
judgeExcerpt(long a_iStatus, const std::string& a_strExcerpt, const AcceptingTexts& a_oTexts)
{
    if (a_iStatus == 0)
    {
        return EHttpVerdict::eStatusRefused;
    }
    const std::string strBody = unescapeHtml(a_strExcerpt);
    const EHttpVerdict eVerdict = judgeReply(a_iStatus, strBody, a_oTexts);
    if (eVerdict == EHttpVerdict::eTextMissing && strBody.size() >= s_uiReportBytes)
    {
        return std::nullopt;
    }
    return eVerdict;
}

} // namespace quorvad
