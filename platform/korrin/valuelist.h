#pragma once

#include "korrin/value.h"

#include <list>
#include <string>
#include <utility>

namespace korrin
{

/// One table row: column names and values in a defined order. Not synchronised; one thread at a time.
class ValueList : public std::list<std::pair<std::string, Value>>
{
public:
    void add(const std::string& a_strName, const Value& a_oValue);
    /// Removes every pair of that name; a name that is not there is no error.
    void remove(const std::string& a_strName);
    /// The first value of that name; a null value (0, "") when there is none. Never fails.
    [[nodiscard]] const Value& getValue(const std::string& a_strName) const;
    [[nodiscard]] Value getValue(const std::string& a_strName);
    [[nodiscard]] bool hasValue(const std::string& a_strName) const;
    /// True when length, order, a name, a type or a content differs.
    bool operator!=(const ValueList& a_oOther) const;
    bool operator==(const ValueList& a_oOther) const;
};

} // namespace korrin
