#include "cfgctl/database.h"

#include "cfgctl/errors.h"
#include "platform/wire/message.h"

#include <thread>

namespace cfgctl
{

namespace
{

constexpr std::chrono::milliseconds s_oAskAgain{100};

bool is(korrin::protocol::EResultCode a_oResult, wire::Result a_eResult)
{
    return a_oResult == static_cast<unsigned int>(a_eResult);
}

const char* nextStep(korrin::protocol::EResultCode a_oResult)
{
    if (is(a_oResult, wire::Result::UnknownTable))
    {
        return " ('cfgctl tables' lists them)";
    }
    if (is(a_oResult, wire::Result::AccessTaken))
    {
        return " (try again later, or wait longer with --wait SECONDS)";
    }
    return "";
}

} // namespace

void Database::check(korrin::protocol::EResultCode a_oResult, const std::string& a_strWhat)
{
    if (a_oResult == 0)
    {
        return;
    }
    std::string strReason;
    m_oClient.getlasterror(strReason);
    if (strReason.empty())
    {
        strReason = "the service gave no reason (code " + std::to_string(a_oResult) + ")";
    }
    throw Failure(a_strWhat + ": " + strReason + nextStep(a_oResult));
}

std::vector<std::string> Database::getTables()
{
    std::list<std::string> oNames;
    check(m_oClient.gettables(oNames), "Can't list the tables");
    return {oNames.begin(), oNames.end()};
}

korrin::ValueList Database::getColumns(const std::string& a_strTable)
{
    korrin::ValueList oColumns;
    check(m_oClient.getcolumns(a_strTable, oColumns), "Can't read the columns of table " + a_strTable);
    return oColumns;
}

Schema Database::getSchema()
{
    Schema oSchema;
    for (const std::string& strTable : getTables())
    {
        oSchema[strTable] = getColumns(strTable);
    }
    return oSchema;
}

unsigned int Database::countRows(const std::string& a_strTable)
{
    unsigned int uiCount = 0;
    check(m_oClient.getrowcount(a_strTable, uiCount), "Can't count the rows of table " + a_strTable);
    return uiCount;
}

Rows Database::getRows(const std::string& a_strTable)
{
    Rows oRows;
    check(m_oClient.getrows(a_strTable, oRows), "Can't read table " + a_strTable);
    return oRows;
}

void Database::beginWrite(std::chrono::milliseconds a_oPatience)
{
    const auto oDeadline = std::chrono::steady_clock::now() + a_oPatience;
    korrin::protocol::EResultCode oResult = m_oClient.getdbaccess();
    while (is(oResult, wire::Result::AccessTaken) && std::chrono::steady_clock::now() < oDeadline)
    {
        std::this_thread::sleep_for(s_oAskAgain);
        oResult = m_oClient.getdbaccess();
    }
    check(oResult, "Can't get write access");
}

void Database::insertRow(const std::string& a_strTable, const korrin::ValueList& a_oValues)
{
    check(m_oClient.insertrow(a_strTable, a_oValues), "Can't add a row to table " + a_strTable);
}

int Database::getLastId(const std::string& a_strTable)
{
    const unsigned int uiCount = countRows(a_strTable);
    korrin::NameList oNames;
    oNames.add("Id");
    korrin::ValueList oRow;
    check(m_oClient.getrow(a_strTable, uiCount - 1, oNames, oRow), "Can't read the last row of table " + a_strTable);
    return oRow.getValue("Id").getInteger();
}

void Database::updateRow(const std::string& a_strTable, const std::string& a_strId, const korrin::ValueList& a_oValues)
{
    check(m_oClient.updatekey(a_strTable, "Id", a_strId, a_oValues),
          "Can't change the row with Id " + a_strId + " of table " + a_strTable);
}

void Database::deleteRow(const std::string& a_strTable, const std::string& a_strId)
{
    check(m_oClient.deletekey(a_strTable, "Id", a_strId),
          "Can't delete the row with Id " + a_strId + " of table " + a_strTable);
}

void Database::commit()
{
    const korrin::protocol::EResultCode oResult = m_oClient.commit();
    const bool bAnswered = oResult < static_cast<unsigned int>(wire::Result::Disconnected);
    check(oResult,
          bAnswered ? "Nothing was written"
                    : "The service didn't say whether everything was written or nothing; look before you try again");
}

} // namespace cfgctl
