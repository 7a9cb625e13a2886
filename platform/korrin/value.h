#pragma once

#include <string>

namespace korrin
{

/// Type codes of a column value as they travel between client and service.
enum EValueType : unsigned
{
    eValueNull = 0,
    eValueInteger = 2,
    eValueText = 4
};

/// One typed column value. Immutable apart from assignment; plain data, safe to copy between threads.
///
/// Every value answers every accessor: an integer's text is its decimal form, a text's integer is what strtol reads in
/// base 10, saturated to the range of int, and 0 where there are no digits.
class Value
{
public:
    Value(unsigned a_uiType, int a_iValue);
    Value(unsigned a_uiType, const std::string& a_strValue);
    /// A null pointer counts as the empty text.
    Value(unsigned a_uiType, const char* a_pValue);
    Value(const Value&) = default;
    Value& operator=(const Value&) = default;
    Value(Value&&) = default;
    Value& operator=(Value&&) = default;
    virtual ~Value() = default;

    [[nodiscard]] int getInteger() const;
    [[nodiscard]] unsigned int getUnsigned() const;
    /// The reference lives as long as the value and is not changed by other calls.
    [[nodiscard]] const std::string& getText() const;
    [[nodiscard]] unsigned getType() const;

    /// Equal in type and content.
    bool operator==(const Value& a_oOther) const;
    bool operator!=(const Value& a_oOther) const;

private:
    unsigned m_uiType;
    int m_iValue;
    std::string m_strText;
};

} // namespace korrin
