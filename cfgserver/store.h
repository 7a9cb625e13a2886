#pragma once

#include "cfgserver/table.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace cfgserver
{

class Database;
class StateFile;
class Store;

/// The writes of one client that nobody else sees yet; destroying it discards them. It refers to its store, and there
/// is at most one per store.
class Transaction
{
public:
    explicit Transaction(const Store& a_oStore);

    /// As this transaction sees it. Tables are given by their position in the schema.
    [[nodiscard]] const Table& getTable(std::size_t a_uiTable) const;
    /// The same, to be changed; the first call for a table copies it.
    [[nodiscard]] Table& edit(std::size_t a_uiTable);

private:
    friend class Store;

    const Store& m_oStore;
    std::vector<std::optional<Table>> m_oEdited; // empty where nothing was written
};

/// The committed tables, in memory and in the database. One thread.
class Store
{
public:
    /// Reads all tables; database and state file outlive the store. Without a state file, what is kept in memory only
    /// begins empty. Throws std::runtime_error naming the database's file and the reason.
    explicit Store(Database& a_oDatabase, StateFile* a_pState = nullptr);

    /// As last committed; the reference is valid until the next commit.
    [[nodiscard]] const Table& getTable(std::size_t a_uiTable) const { return m_oTables[a_uiTable]; }

    /// Stores the writes so that they survive a loss of power, then makes them visible. Returns the tables whose
    /// content differs from before, in the order of the schema. Blocks for as long as the disk takes. Throws Refusal
    /// (StorageFailed), with disk and memory as they were.
    [[nodiscard]] std::vector<std::size_t> commit(Transaction& a_oTransaction);

private:
    Database& m_oDatabase;
    StateFile* m_pState;
    std::vector<Table> m_oTables;
};

} // namespace cfgserver
