#include "netifwatch/interfacefilter.h"

#include "platform/base/escape.h"

#include <algorithm>
#include <fnmatch.h>
#include <utility>

namespace netifwatch
{

namespace
{

bool matchesAny(const std::vector<std::string>& a_oPatterns, const std::string& a_strName)
{
    return std::any_of(a_oPatterns.begin(),
                       a_oPatterns.end(),
                       [&](const std::string& a_strPattern)
                       { return fnmatch(a_strPattern.c_str(), a_strName.c_str(), 0) == 0; });
}

bool isText(std::string_view a_strName)
{
    while (!a_strName.empty())
    {
        const std::size_t uiLength = platform::getSequenceLength(a_strName);
        if (uiLength == 0)
        {
            return false;
        }
        a_strName.remove_prefix(uiLength);
    }
    return true;
}

} // namespace

InterfaceFilter::InterfaceFilter(std::vector<std::string> a_oIncluded, std::vector<std::string> a_oExcluded)
    : m_oIncluded(std::move(a_oIncluded)), m_oExcluded(std::move(a_oExcluded))
{
}

bool InterfaceFilter::accepts(const std::string& a_strName) const
{
    const bool bIncluded = m_oIncluded.empty() ? a_strName != "lo" : matchesAny(m_oIncluded, a_strName);
    return bIncluded && !matchesAny(m_oExcluded, a_strName) && isText(a_strName);
}

} // namespace netifwatch
