#pragma once

#include "cfgserver/database.h"
#include "cfgserver/refusal.h"
#include "cfgserver/store.h"
#include "platform/common/values.h"
#include "tests/unit/support/folder.h"

#include <functional>
#include <initializer_list>
#include <utility>

namespace samples
{

using platform::integer;
using platform::row;
using platform::text;

using Pairs = std::initializer_list<std::pair<const char*, korrin::Value>>;

inline wire::Request
request(wire::Operation a_eOperation, const char* a_pTable = "DynDns", const korrin::ValueList& a_oValues = {})
{
    wire::Request oRequest;
    oRequest.m_uiSequence = 77;
    oRequest.m_eOperation = a_eOperation;
    oRequest.m_strTable = a_pTable;
    oRequest.m_oValues = a_oValues;
    return oRequest;
}

inline wire::Request hello(const char* a_pName = "test", const korrin::ValueList& a_oOptions = {})
{
    wire::Request oHello = request(wire::Operation::Hello, a_pName, a_oOptions);
    oHello.m_uiNumber = wire::g_uiProtocolVersion;
    return oHello;
}

inline std::size_t tableOf(const char* a_pName)
{
    return cfgserver::findTable(a_pName).value();
}

/// One column of all rows as one text, "a,b,c".
inline std::string columnOf(const cfgserver::Table& a_oTable, const char* a_pColumn)
{
    std::string strAll;
    for (const auto& pRow : a_oTable.getRows())
    {
        strAll += strAll.empty() ? "" : ",";
        strAll += pRow->m_oCells[a_oTable.getSchema().findColumn(a_pColumn).value()].getText();
    }
    return strAll;
}

/// Result code and text of the refusal; Ok if there was none.
inline std::pair<wire::Result, std::string> refusalOf(const std::function<void()>& a_oAction)
{
    try
    {
        a_oAction();
    }
    catch (const cfgserver::Refusal& oRefusal)
    {
        return {oRefusal.getResult(), oRefusal.what()};
    }
    return {wire::Result::Ok, ""};
}

/// The message of the std::runtime_error thrown; empty if there was none.
inline std::string failureOf(const std::function<void()>& a_oAction)
{
    try
    {
        a_oAction();
    }
    catch (const std::runtime_error& oError)
    {
        return oError.what();
    }
    return "";
}

} // namespace samples
