#include "config/configobjects.h"

#include "vadro/error/assert.h"
#include "vadro/sysloglevel.h"

#include <utility>

namespace quorvad
{

using vadro::error::Assert;

ConfigObject::ConfigObject(const std::string& a_strMappedTable, unsigned int a_uiId)
    : m_uiId(a_uiId), m_bChanged(false), m_strMappedTable(a_strMappedTable),
      m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    if (m_strMappedTable.empty())
    {
        Assert::throwAssertionFailed(vadro::error::eConstruction, "configobjects", 32, "a_strMappedTable.size() != 0");
    }
}

ConfigObject::ConfigObject(ConfigObject&& a_oOther) noexcept
    : m_uiId(a_oOther.m_uiId), m_oLastSnapshot(std::move(a_oOther.m_oLastSnapshot)), m_bChanged(a_oOther.m_bChanged),
      m_strMappedTable(std::move(a_oOther.m_strMappedTable)), m_iModuleId(a_oOther.m_iModuleId)
{
    // The library only promises that a moved-from container is usable, not that it is empty.
    a_oOther.m_oLastSnapshot.clear();
    a_oOther.m_strMappedTable.clear();
}

ConfigObject& ConfigObject::operator=(ConfigObject&& a_oOther) noexcept
{
    if (this != &a_oOther)
    {
        m_uiId = a_oOther.m_uiId;
        m_oLastSnapshot = std::move(a_oOther.m_oLastSnapshot);
        m_bChanged = a_oOther.m_bChanged;
        m_strMappedTable = std::move(a_oOther.m_strMappedTable);
        m_iModuleId = a_oOther.m_iModuleId;
        a_oOther.m_oLastSnapshot.clear();
        a_oOther.m_strMappedTable.clear();
    }
    return *this;
}

bool ConfigObject::updateSnapshot(korrin::ValueList& a_oValues)
{
    VADRO_Sysloglevel_debug(m_iModuleId, "configobjects", 37, "updateSnapshot");
    if (!m_oLastSnapshot.empty() && !(m_oLastSnapshot != a_oValues))
    {
        return false;
    }
    m_oLastSnapshot = a_oValues;
    m_bChanged = true;
    return true;
}

// Reported under the handler's name, because it is the handler's use of the row that fails.
korrin::Value ConfigObject::getValue(const std::string& a_strParamName) const
{
    if (m_oLastSnapshot.empty())
    {
        Assert::throwAssertionFailed(vadro::error::ePrecondition, "confighandler", 15, "m_oLastSnapshot.size() != 0");
    }
    if (!m_oLastSnapshot.hasValue(a_strParamName))
    {
        Assert::throwAssertionFailed(
            vadro::error::ePrecondition, "confighandler", 16, "m_oLastSnapshot.hasValue(a_strParamName)");
    }
    return m_oLastSnapshot.getValue(a_strParamName);
}

int integerOf(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.hasValue(a_pColumn) ? a_oRow.getValue(a_pColumn).getInteger() : 0;
}

unsigned int unsignedOf(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.hasValue(a_pColumn) ? a_oRow.getValue(a_pColumn).getUnsigned() : 0;
}

int integerOf(const ConfigObject& a_oObject, const char* a_pColumn)
{
    return integerOf(a_oObject.m_oLastSnapshot, a_pColumn);
}

std::string textOf(const ConfigObject& a_oObject, const char* a_pColumn)
{
    return textOf(a_oObject.m_oLastSnapshot, a_pColumn);
}

} // namespace quorvad
