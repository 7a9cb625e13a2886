// SQLite alone, as durable as the service: bench_sqlite FILE CHUNKS RUNS. One row of a table like DynDns is updated per
// transaction.
#include "bench/programs/measure.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <cstdlib>

namespace
{

/// The service's settings in its order (cfgserver/database.cpp); larger pages would write more per commit.
constexpr const char* s_pSettings = "PRAGMA page_size=1024; PRAGMA locking_mode=EXCLUSIVE; PRAGMA synchronous=FULL;"
                                    "PRAGMA wal_autocheckpoint=1024; PRAGMA journal_size_limit=1048576;"
                                    "PRAGMA cache_size=-512; PRAGMA temp_store=MEMORY; PRAGMA trusted_schema=OFF;"
                                    "PRAGMA secure_delete=ON; PRAGMA journal_mode=WAL;";

constexpr const char* s_pTable = "CREATE TABLE DynDns (_seq INTEGER PRIMARY KEY, Id INTEGER, Enable INTEGER, Interface "
                                 "TEXT, ServiceType TEXT, ServerAddr TEXT, Hostname TEXT, AccountUserName TEXT, "
                                 "Password TEXT, ExpectedResultSubString TEXT, Retry INTEGER);"
                                 "INSERT INTO DynDns VALUES (1, 1, 1, 'ppp0', 'update-url', "
                                 "'https://ddns.example.net/plain/page', 'h', 'u', 'word', 'good', 5)";

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        bench::fail("usage: bench_sqlite FILE CHUNKS RUNS");
    }
    SQLite::Database oDatabase(argv[1], SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    oDatabase.exec(s_pSettings);
    oDatabase.exec(s_pTable);
    SQLite::Statement oUpdate(oDatabase, "UPDATE DynDns SET Hostname=? WHERE _seq=1");
    int iNumber = 0;
    bench::Report oReport;
    oReport.add("commit",
                bench::measure(bench::toNumber(argv[2]),
                               bench::toNumber(argv[3]),
                               [&]
                               {
                                   SQLite::Transaction oTransaction(oDatabase);
                                   oUpdate.bind(1, "h" + std::to_string(++iNumber));
                                   oUpdate.exec();
                                   oUpdate.reset();
                                   oTransaction.commit();
                               }));
    oReport.print();
    return 0;
}
