#pragma once

#include "vadro/cfg/common/iconfigclient.h"

#include <string>

namespace quorvad
{

/// Calls a_oVisit with every row of the table that can be read, all columns, in table order. A row that can't be read
/// is skipped; a table whose rows can't be counted reads as empty. Blocks for the client's calls.
template<typename Visitor>
void forEachRow(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable, Visitor a_oVisit)
{
    unsigned int uiCount = 0;
    a_oClient.getrowcount(a_strTable, uiCount);
    korrin::NameList oColumns;
    korrin::ValueList oRow;
    for (unsigned int uiIndex = 0; uiIndex < uiCount; ++uiIndex)
    {
        oColumns.clear();
        oRow.clear();
        if (a_oClient.getrow(a_strTable, uiIndex, oColumns, oRow) == 0)
        {
            a_oVisit(oRow);
        }
    }
}

} // namespace quorvad
