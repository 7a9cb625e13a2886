#pragma once

#include "korrin/valuelist.h"
#include "platform/common/values.h"

#include <cstdint>
#include <string>

namespace quorvad
{

/// The cached copy of one table row: the values last stored, and whether they have yet to be acted on.
///
/// A plain value without a lock: one thread at a time, any thread. Nothing here blocks.
class ConfigObject
{
public:
    /// Throws vadro::error::AssertionFailed (type 4) when the table name is empty.
    ConfigObject(const std::string& a_strMappedTable, unsigned int a_uiId);
    ConfigObject(const ConfigObject&) = default;
    /// The source is left with an empty table name and an empty snapshot.
    ConfigObject(ConfigObject&& a_oOther) noexcept;
    ConfigObject& operator=(const ConfigObject&) = default;
    ConfigObject& operator=(ConfigObject&& a_oOther) noexcept;
    ~ConfigObject() = default;

    /// Stores a freshly read row if it differs from the snapshot, or if the snapshot is empty, and marks the object
    /// changed. Returns whether it stored. A mark that is already set stays, however many equal rows follow.
    bool updateSnapshot(korrin::ValueList& a_oValues);

    /// Throws vadro::error::AssertionFailed (type 1) when the snapshot is empty or lacks the column.
    [[nodiscard]] korrin::Value getValue(const std::string& a_strParamName) const;

    std::uint32_t m_uiId;              ///< Id of the row, or a fixed number of the owner's choice
    korrin::ValueList m_oLastSnapshot; ///< empty until the first row is stored
    bool m_bChanged;                   ///< cleared by whoever has acted on the row
    std::string m_strMappedTable;
    std::uint32_t m_iModuleId; ///< log module handle
};

// Columns that a row may lack: 0 or the empty text then.
[[nodiscard]] int integerOf(const korrin::ValueList& a_oRow, const char* a_pColumn);
[[nodiscard]] unsigned int unsignedOf(const korrin::ValueList& a_oRow, const char* a_pColumn);
using platform::textOf;
[[nodiscard]] int integerOf(const ConfigObject& a_oObject, const char* a_pColumn);
[[nodiscard]] std::string textOf(const ConfigObject& a_oObject, const char* a_pColumn);

} // namespace quorvad
