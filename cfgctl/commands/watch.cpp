#include "cfgctl/commands/commands.h"
#include "cfgctl/commands/follow.h"
#include "cfgctl/errors.h"
#include "cfgctl/output.h"
#include "cfgctl/session.h"
#include "cfgctl/timestamp.h"

#include <ctime>

namespace cfgctl
{

namespace
{

std::vector<std::string> chooseTables(const Options& a_oOptions)
{
    Session oSession(a_oOptions.m_strSocket);
    Database oDatabase(oSession.getClient());
    for (const std::string& strTable : a_oOptions.m_oTables)
    {
        static_cast<void>(oDatabase.getColumns(strTable)); // an unknown one fails here
    }
    return a_oOptions.m_oTables.empty() ? oDatabase.getTables() : a_oOptions.m_oTables;
}

void printChange(const std::string& a_strTable, bool a_bJson)
{
    const std::string strTime = formatTimestamp(std::time(nullptr));
    if (!a_bJson)
    {
        writeOut(strTime + "  " + a_strTable + "\n");
        return;
    }
    korrin::ValueList oRow;
    oRow.add("Time", korrin::Value(korrin::eValueText, strTime));
    oRow.add("Table", korrin::Value(korrin::eValueText, a_strTable));
    writeOut(rowToJson(oRow) + "\n");
}

} // namespace

void runWatch(const Options& a_oOptions)
{
    unsigned uiLines = 0;
    Follower oFollower;
    oFollower.m_oTables = chooseTables(a_oOptions);
    oFollower.m_oIsDone = [&] { return a_oOptions.m_uiCount > 0 && uiLines >= a_oOptions.m_uiCount; };
    oFollower.m_oOnChange = [&](vadro::cfg::common::IConfigClient&, const std::string& a_strTable, bool a_bFirst)
    {
        if (!a_bFirst)
        {
            printChange(a_strTable, a_oOptions.m_bJson);
            ++uiLines;
        }
    };
    const bool bSignal = follow(a_oOptions, oFollower);
    if (!bSignal && uiLines < a_oOptions.m_uiCount)
    {
        throw Failure("Only " + std::to_string(uiLines) + " of " + std::to_string(a_oOptions.m_uiCount) +
                      " changes came within " + std::to_string(a_oOptions.m_uiTimeoutSec) + " s");
    }
}

} // namespace cfgctl
