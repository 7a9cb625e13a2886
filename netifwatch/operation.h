#pragma once

#include "korrin/valuelist.h"

#include <list>
#include <string>
#include <vector>

namespace netifwatch
{

using Rows = std::list<korrin::ValueList>;

/// One write to a table.
struct Operation
{
    enum class Kind
    {
        Insert,
        Update,
        Delete
    };

    Kind m_eKind = Kind::Insert;
    std::string m_strTable;
    std::string m_strName;       ///< of the interface, for the log
    int m_iId = 0;               ///< of the row; not of an inserted one
    korrin::ValueList m_oValues; ///< what is written; of an update only what changes
};
using Operations = std::vector<Operation>;

} // namespace netifwatch
