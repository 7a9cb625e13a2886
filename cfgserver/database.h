#pragma once

#include "cfgserver/databaseplace.h"
#include "cfgserver/table.h"

#include <SQLiteCpp/Database.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cfgserver
{

/// A table before and after a transaction.
struct TableChange
{
    const Table& m_oBefore;
    const Table& m_oAfter;
};

/// A transaction of one database.
struct TableChanges
{
    std::vector<TableChange> m_oDifferent;
    std::vector<const Table*> m_oAll; ///< every table that the database keeps, as it is afterwards
};

/// How long the rows of a table are kept.
enum class EKept
{
    eForGood,
    eUntilReboot, ///< in memory, and over a restart where there is a StateFile
    eNotAtAll     ///< computed
};

[[nodiscard]] EKept keptOf(const TableSchema& a_oSchema);

/// The tables on disk: one SQLite file that belongs to this process alone while it is open. One thread; must not be
/// carried over a fork, which would lose the lock.
class Database
{
public:
    /// Opens or creates the file, mode 0600, and brings it to the present schema; ":memory:" keeps nothing. Throws
    /// std::runtime_error that names the file, the reason and what to do: no folder, no permission, used by another
    /// process, damaged, not ours, written by a newer service. The content of a refused file stays as it was
    /// (databasefile.h tells what of the rest); until accept() the log beside it is not written into it.
    /// @param a_eKept which tables it holds; those that a reboot may lose are written without waiting for a disk
    explicit Database(const std::string& a_strPath, EKept a_eKept = EKept::eForGood);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// The stored rows of a table. Throws std::runtime_error if they violate the schema.
    [[nodiscard]] Table load(const TableSchema& a_oSchema);

    /// To be called when everything that was loaded is sound.
    void accept();

    /// Writes the rows that differ, all tables in one transaction, and returns once they would survive a loss of power.
    /// If the file was deleted or moved away meanwhile, writes all tables to a new one in its place, and a warning.
    /// Throws Refusal (StorageFailed), with nothing written, also where another file stands in its place. Without
    /// changes the disk is not touched.
    void save(const TableChanges& a_oChanges);

    /// Whether what was saved stands where it will be looked for at the next start.
    [[nodiscard]] bool isInPlace() const noexcept;

private:
    void open();
    void createMissing();
    void update(const std::vector<TableChange>& a_oChanges);
    void writeAnew(const std::vector<const Table*>& a_oTables);
    void fill(const std::vector<const Table*>& a_oTables);
    void requirePlace() const;
    void leavePlace() const noexcept;
    void writeRows(const TableChange& a_oChange);
    void writeHighestId(const TableChange& a_oChange);
    void overwriteRefused();

    std::string m_strPath;
    EKept m_eKept;
    std::unique_ptr<SQLite::Database> m_pDatabase; // null while one that was written anew cannot be opened
    std::optional<DatabasePlace> m_oPlace;
};

} // namespace cfgserver
