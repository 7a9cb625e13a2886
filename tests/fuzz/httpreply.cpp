// The body of a provider's reply, in pieces. Its first line serves as the text that the account expects.
#include "actions/httpreply.h"
#include "actions/curlaction.h"
#include "tests/fuzz/fuzz.h"

#include <algorithm>

using namespace quorvad;

void fuzz(std::string_view a_strInput)
{
    const std::string strExpected(a_strInput.substr(0, a_strInput.find('\n')));
    std::string strBody, strInput(a_strInput);
    for (char* pPiece = strInput.data(); pPiece < strInput.data() + strInput.size(); pPiece += 5)
    {
        const auto uiSize = std::min<std::size_t>(5, static_cast<std::size_t>(&strInput.back() + 1 - pPiece));
        require(CurlAction::writeCallback(pPiece, 1, uiSize, &strBody) == uiSize);
    }
    require(strBody == a_strInput);
    removeLineFeeds(strBody);
    require(strBody.find('\n') == std::string::npos);
    const std::string strReport = reportExcerpt(strBody);
    require(shortExcerpt(strBody).size() <= 100 && strReport.find_first_of("<>\"'") == std::string::npos);
    require(strReport.size() <= 200 * std::string_view("&quot;").size());
    require(strExpected.empty() || judgeReply(200, strBody, {strExpected, ""}) == EHttpVerdict::eTextFound);
}
