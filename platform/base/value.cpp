#include "korrin/value.h"
#include "korrin/valuelist.h"
#include "vadro/string/replace.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace korrin
{

namespace
{

int integerOf(const std::string& a_strText)
{
    const int iSavedErrno = errno;
    const long lValue = std::strtol(a_strText.c_str(), nullptr, 10);
    errno = iSavedErrno;
    return static_cast<int>(std::clamp<long>(lValue, INT_MIN, INT_MAX));
}

} // namespace

Value::Value(unsigned a_uiType, int a_iValue)
    : m_uiType(a_uiType), m_iValue(a_iValue),
      m_strText(a_uiType == eValueNull ? std::string() : std::to_string(a_iValue))
{
}

Value::Value(unsigned a_uiType, const std::string& a_strValue)
    : m_uiType(a_uiType), m_iValue(integerOf(a_strValue)), m_strText(a_strValue)
{
}

Value::Value(unsigned a_uiType, const char* a_pValue)
    : Value(a_uiType, a_pValue != nullptr ? std::string(a_pValue) : std::string())
{
}

int Value::getInteger() const
{
    return m_iValue;
}

unsigned int Value::getUnsigned() const
{
    return static_cast<unsigned int>(m_iValue);
}

const std::string& Value::getText() const
{
    return m_strText;
}

unsigned Value::getType() const
{
    return m_uiType;
}

bool Value::operator==(const Value& a_oOther) const
{
    return m_uiType == a_oOther.m_uiType && m_iValue == a_oOther.m_iValue && m_strText == a_oOther.m_strText;
}

bool Value::operator!=(const Value& a_oOther) const
{
    return !(*this == a_oOther);
}

void ValueList::add(const std::string& a_strName, const Value& a_oValue)
{
    emplace_back(a_strName, a_oValue);
}

void ValueList::remove(const std::string& a_strName)
{
    remove_if([&](const value_type& a_oPair) { return a_oPair.first == a_strName; });
}

const Value& ValueList::getValue(const std::string& a_strName) const
{
    static const Value s_oNull(eValueNull, 0);
    const auto it = std::find_if(begin(), end(), [&](const value_type& a_oPair) { return a_oPair.first == a_strName; });
    return it != end() ? it->second : s_oNull;
}

Value ValueList::getValue(const std::string& a_strName)
{
    return static_cast<const ValueList&>(*this).getValue(a_strName);
}

bool ValueList::hasValue(const std::string& a_strName) const
{
    return std::any_of(begin(), end(), [&](const value_type& a_oPair) { return a_oPair.first == a_strName; });
}

bool ValueList::operator==(const ValueList& a_oOther) const
{
    return size() == a_oOther.size() && std::equal(begin(), end(), a_oOther.begin());
}

bool ValueList::operator!=(const ValueList& a_oOther) const
{
    return !(*this == a_oOther);
}

} // namespace korrin

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
