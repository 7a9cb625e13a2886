#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/commands/watch.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/logrows.h"

#include <algorithm>
#include <ctime>
#include <unistd.h>

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
        writeOut(m_oOptions.m_bJson ? rowsToJson(oRows) : renderLog(oRows, m_oOptions.m_oLayout));
        explain(oRows);
    }
    /// If reading fails, the rows follow at the next change, or once the service is back.
    void printNew(Database& a_oDatabase)
    {
        try
        {
            printLines(read(a_oDatabase));
        }
        catch (const Failure& oError)
        {
            complain(oError.what());
        }
    }

private:
    Rows read(Database& a_oDatabase)
    {
        const std::vector<int>& oIds = m_oOptions.m_oAccount.m_oIds;
        Rows oRows =
            makeLogRows(readLogSources(a_oDatabase), oIds.empty() ? 0 : oIds.front(), m_iLast, std::time(nullptr));
        for (const korrin::ValueList& oRow : oRows)
        {
            m_iLast = std::max(m_iLast, oRow.getValue(dbm::Id).getInteger());
        }
        return oRows;
    }
    void printLines(const Rows& a_oRows)
    {
        for (const korrin::ValueList& oRow : a_oRows)
        {
            writeOut(m_oOptions.m_bJson ? rowToJson(oRow) : makeLogLine(oRow, m_oOptions.m_oLayout));
        }
        explain(a_oRows);
    }
    /// Once for each set of accounts; whoever follows the log need not read it at every try.
    void explain(const Rows& a_oRows)
    {
        const std::string strRefusals = m_oOptions.m_bJson ? "" : explainRefusals(a_oRows);
        if (!strRefusals.empty() && strRefusals != m_strExplained)
        {
            warn(strRefusals);
            m_strExplained = strRefusals;
        }
    }

    const Options& m_oOptions;
    int m_iLast = 0; // Ids only grow
    std::string m_strExplained;
};

} // namespace

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
        if (!a_oOptions.m_bJson && isatty(STDERR_FILENO) != 0)
        {
            complain("Waiting for new attempts; Ctrl-C ends it");
        }
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
