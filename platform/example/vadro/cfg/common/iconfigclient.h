#pragma once

#include "korrin/valuelist.h"

#include <string>

namespace korrin::protocol
{
using EResultCode = unsigned int; // 0 is success
}

namespace vadro::cfg::common
{

/// What the daemon asks of a configuration database; one thread calls.
class IConfigClient
{
public:
    using Result = korrin::protocol::EResultCode;

    virtual ~IConfigClient() = default;
    virtual Result getrowcount(const std::string& a_strTable, unsigned int& a_uiCount) = 0;
    virtual Result getrow(const std::string& a_strTable,
                          unsigned int a_uiIndex,
                          korrin::NameList& a_oColumns,
                          korrin::ValueList& a_oValues) = 0;
    virtual Result getrowbykey(const std::string& a_strTable,
                               const std::string& a_strKeyColumn,
                               const std::string& a_strKeyValue,
                               korrin::NameList& a_oColumns,
                               korrin::ValueList& a_oValues) = 0;
    virtual Result insertrow(const std::string& a_strTable, korrin::ValueList a_oValues) = 0;
    virtual Result updatekey(const std::string& a_strTable,
                             const std::string& a_strKeyColumn,
                             const std::string& a_strKeyValue,
                             korrin::ValueList a_oValues) = 0;
    virtual Result deleterow(const std::string& a_strTable, unsigned int a_uiIndex) = 0;
    virtual bool hasdbaccess() = 0;
    virtual Result getdbaccess() = 0;
    virtual Result commit() = 0;
};

} // namespace vadro::cfg::common
