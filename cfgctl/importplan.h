#pragma once

#include "cfgctl/tablejson.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// What has to be written, in this order, so that a table holds the rows of a file and no others, in the file's order
/// (which counts: DNS servers are asked in it).
struct TablePlan
{
    std::string m_strTable;
    std::vector<std::string> m_oDeletes; ///< Ids
    Rows m_oUpdates;                     ///< whole rows with their Id; only of a table with a fixed row
    Rows m_oInserts;                     ///< whole rows, with the Id where the file tells it

    // what it comes to for the person who imports
    unsigned m_uiAdded = 0;
    unsigned m_uiChanged = 0;
    unsigned m_uiDeleted = 0;
    unsigned m_uiUnchanged = 0;
};

/// A DNS server that netifwatch wrote: it belongs to this machine, not to its settings. Pure.
[[nodiscard]] bool isFoundByWatcher(const korrin::ValueList& a_oRow);

/// Plans the replacement of a table's rows; those found by the watcher are left alone unless the file brings some. Rows
/// of equal Id are the same row; rows without Id are new and come last. A column that the file leaves out gets its
/// default. A secret stays as it is where the file leaves a password out or holds the very text under which hideSecret
/// shows it. Pure. Throws Failure where a hidden secret has no row to stay with, or a table of one row is not given
/// exactly that one.
[[nodiscard]] TablePlan
planImport(ImportedTable a_oWanted, const korrin::ValueList& a_oColumns, const Rows& a_oPresent);

} // namespace cfgctl
