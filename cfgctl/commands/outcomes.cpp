#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/commands/watch.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/outcomerows.h"

#include <ctime>

namespace cfgctl
{

namespace
{

/// Prints each log row once.
class LogPrinter
{
public:
    explicit LogPrinter(const Options& a_oOptions) : m_oOptions(a_oOptions) {}

    void printNewest(Database& a_oDatabase)
    {
        Rows oRows = read(a_oDatabase);
        while (oRows.size() > m_oOptions.m_uiLines)
        {
            oRows.pop_front();
        }
        if (m_oOptions.m_bFollow)
        {
            printLines(oRows);
            return;
        }
        writeOut(m_oOptions.m_bJson ? rowsToJson(oRows) : renderTable(makeLogTable(oRows), m_oOptions.m_oLayout));
    }
    /// If reading fails, the rows follow at the next change, or once the service is back.
    void printNew(Database& a_oDatabase)
    {
        Rows oRows;
        try
        {
            oRows = read(a_oDatabase);
        }
        catch (const Failure& oError)
        {
            complain(oError.what());
        }
        printLines(oRows);
    }

private:
    Rows read(Database& a_oDatabase)
    {
        StatusSources oSources;
        oSources.m_oAccounts = a_oDatabase.getRows(dbm::Table_DynDns);
        oSources.m_oLog = a_oDatabase.getRows(dbm::Table_DynDnsLog);
        // after the log: it decides on the log's newest row
        oSources.m_oStatus = a_oDatabase.getRows(dbm::Table_DynDnsStatus);
        const std::vector<int>& oIds = m_oOptions.m_oAccount.m_oIds;
        Rows oRows = makeLogRows(oSources, oIds.empty() ? 0 : oIds.front(), m_iLast, std::time(nullptr));
        if (!oRows.empty())
        {
            m_iLast = oRows.back().getValue(dbm::Id).getInteger();
        }
        return oRows;
    }
    void printLines(const Rows& a_oRows) const
    {
        for (const korrin::ValueList& oRow : a_oRows)
        {
            writeOut(m_oOptions.m_bJson ? rowToJson(oRow) : makeLogLine(oRow, m_oOptions.m_oLayout));
        }
    }

    const Options& m_oOptions;
    int m_iLast = 0; // Ids only grow
};

} // namespace

std::string runStatus(Database& a_oDatabase, const Options& a_oOptions)
{
    const Rows oRows = makeStatusRows(readSources(a_oDatabase), std::time(nullptr));
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows);
    }
    if (oRows.empty())
    {
        complain(g_acNoAccounts);
    }
    return renderTable(makeStatusTable(oRows), a_oOptions.m_oLayout);
}

void runLog(const Options& a_oOptions)
{
    LogPrinter oPrinter(a_oOptions);
    {
        Session oSession(a_oOptions.m_strSocket);
        Database oDatabase(oSession.getClient());
        if (!a_oOptions.m_oAccount.m_oIds.empty())
        {
            static_cast<void>(readAccounts(oDatabase, a_oOptions.m_oAccount.m_oIds)); // throws for an unknown one
        }
        oPrinter.printNewest(oDatabase);
    }
    if (a_oOptions.m_bFollow)
    {
        Follower oFollower;
        oFollower.m_oTables = {dbm::Table_DynDnsLog};
        oFollower.m_oOnChange = [&](vadro::cfg::common::IConfigClient& a_oClient, const std::string&, bool)
        {
            Database oDatabase(a_oClient);
            oPrinter.printNew(oDatabase);
        };
        static_cast<void>(follow(a_oOptions, oFollower));
    }
}

} // namespace cfgctl
