#pragma once

#include <algorithm>
#include <cstdlib>
#include <list>
#include <string>
#include <utility>

namespace korrin
{

enum EValueType : unsigned
{
    eValueNull = 0,
    eValueInteger = 2,
    eValueText = 4
};

/// A column's value. This kit's file knows texts only, so two values are equal when their texts are.
class Value
{
public:
    Value(unsigned a_uiType, int a_iValue) : Value(a_uiType, std::to_string(a_iValue)) {}
    Value(unsigned a_uiType, const std::string& a_strValue) : m_uiType(a_uiType), m_strText(a_strValue) {}
    Value(unsigned a_uiType, const char* a_pValue) : Value(a_uiType, std::string(a_pValue)) {}

    [[nodiscard]] int getInteger() const { return static_cast<int>(std::strtol(m_strText.c_str(), nullptr, 10)); }
    [[nodiscard]] unsigned int getUnsigned() const { return static_cast<unsigned int>(getInteger()); }
    [[nodiscard]] const std::string& getText() const { return m_strText; }
    [[nodiscard]] unsigned getType() const { return m_uiType; }
    bool operator==(const Value& a_oOther) const { return m_strText == a_oOther.m_strText; }

private:
    unsigned m_uiType;
    std::string m_strText;
};

/// A row: columns in order.
class ValueList : public std::list<std::pair<std::string, Value>>
{
public:
    void add(const std::string& a_strName, const Value& a_oValue) { emplace_back(a_strName, a_oValue); }
    void remove(const std::string& a_strName)
    {
        remove_if([&](const value_type& a_oPair) { return a_oPair.first == a_strName; });
    }
    [[nodiscard]] bool hasValue(const std::string& a_strName) const { return find(a_strName) != end(); }
    [[nodiscard]] Value getValue(const std::string& a_strName) const
    {
        const auto it = find(a_strName);
        return it != end() ? it->second : Value(eValueNull, "");
    }

private:
    [[nodiscard]] const_iterator find(const std::string& a_strName) const
    {
        return std::find_if(begin(), end(), [&](const value_type& a_oPair) { return a_oPair.first == a_strName; });
    }
};

/// Columns that a read wants; empty: all.
class NameList : public std::list<std::string>
{
public:
    void add(const std::string& a_strName) { push_back(a_strName); }
};

} // namespace korrin
