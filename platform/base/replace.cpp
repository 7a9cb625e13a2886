#include "vadro/string/replace.h"

namespace vadro::string
{

std::string
replaceAllOccurrences(const std::string& a_strText, const std::string& a_strSearch, const std::string& a_strReplacement)
{
    if (a_strSearch.empty())
    {
        return a_strText;
    }
    std::string strResult;
    std::size_t uiStart = 0;
    for (std::size_t uiFound = a_strText.find(a_strSearch); uiFound != std::string::npos;
         uiFound = a_strText.find(a_strSearch, uiStart))
    {
        strResult.append(a_strText, uiStart, uiFound - uiStart).append(a_strReplacement);
        uiStart = uiFound + a_strSearch.size();
    }
    return strResult.append(a_strText, uiStart, std::string::npos);
}

} // namespace vadro::string
