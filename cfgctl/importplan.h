#pragma once

#include "cfgctl/tablejson.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// What to write, in this order, so that a table has exactly the rows of a file, in the file's order, which matters:
/// DNS servers are asked in it.
struct TablePlan
{
    std::string m_strTable;
    std::vector<std::string> m_oDeletes; ///< Ids
    Rows m_oUpdates;                     ///< whole rows with their Id; only of a table with a fixed row
    Rows m_oInserts;                     ///< whole rows, with an Id if the file has one

    // for the summary
    unsigned m_uiAdded = 0;
    unsigned m_uiChanged = 0;
    unsigned m_uiDeleted = 0;
    unsigned m_uiUnchanged = 0;
};

/// A DNS server that netifwatch wrote: a state of this machine, not a setting. Pure.
[[nodiscard]] bool isFoundByWatcher(const korrin::ValueList& a_oRow);

/// Plans the replacement of a table's rows; those of netifwatch stay unless the file has some. Rows with the same Id
/// are the same row; rows without Id are new and come last. A missing column gets its default. A secret is kept if the
/// file omits the password or has the text under which hideSecret shows it. Pure. Throws Failure for a hidden secret
/// without a stored row, or if a table of exactly one row would not have that row.
[[nodiscard]] TablePlan
planImport(const ImportedTable& a_oWanted, const korrin::ValueList& a_oColumns, const Rows& a_oPresent);

} // namespace cfgctl
