#pragma once

#include <list>
#include <string>

namespace korrin
{

/// Column names of a read, in the order wanted; empty selects all columns of the row.
class NameList : public std::list<std::string>
{
public:
    void add(const std::string& a_strName) { push_back(a_strName); }
};

} // namespace korrin
