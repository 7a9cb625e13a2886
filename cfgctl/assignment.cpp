#include "cfgctl/assignment.h"

#include "cfgctl/errors.h"

#include <algorithm>
#include <set>

namespace cfgctl
{

namespace
{

bool isLetter(char a_cByte)
{
    return (a_cByte >= 'a' && a_cByte <= 'z') || (a_cByte >= 'A' && a_cByte <= 'Z') || a_cByte == '_';
}

bool isName(std::string_view a_strText)
{
    const auto isNameByte = [](char a_cByte) { return isLetter(a_cByte) || (a_cByte >= '0' && a_cByte <= '9'); };
    return !a_strText.empty() && isLetter(a_strText.front()) &&
           std::all_of(a_strText.begin(), a_strText.end(), isNameByte);
}

} // namespace

Assignment parseAssignment(std::string_view a_strText)
{
    const std::size_t uiEquals = a_strText.find('=');
    if (uiEquals == std::string_view::npos)
    {
        throw UsageError("'" + std::string(a_strText) + "' is not of the form COLUMN=VALUE");
    }
    Assignment oResult;
    std::string_view strName = a_strText.substr(0, uiEquals);
    if (!strName.empty() && strName.back() == '@')
    {
        strName.remove_suffix(1);
        oResult.m_bFromFile = true;
    }
    if (!isName(strName))
    {
        throw UsageError("'" + std::string(strName) + "' before '=' is not a column's name");
    }
    oResult.m_strColumn = strName;
    oResult.m_strValue = a_strText.substr(uiEquals + 1);
    if (oResult.m_bFromFile && oResult.m_strValue.empty())
    {
        throw UsageError("A file's name is missing behind '" + oResult.m_strColumn + "@='");
    }
    return oResult;
}

std::vector<Assignment> parseAssignments(const std::vector<std::string>& a_oTexts)
{
    std::vector<Assignment> oResult;
    std::set<std::string> oSeen;
    for (const std::string& strText : a_oTexts)
    {
        Assignment oAssignment = parseAssignment(strText);
        if (!oSeen.insert(oAssignment.m_strColumn).second)
        {
            throw UsageError("Column " + oAssignment.m_strColumn + " is given twice");
        }
        oResult.push_back(std::move(oAssignment));
    }
    return oResult;
}

bool isFromStandardInput(const Assignment& a_oAssignment)
{
    return a_oAssignment.m_bFromFile && a_oAssignment.m_strValue == "-";
}

} // namespace cfgctl
