#include "config/columns.h"
#include "config/confighandler.h"
#include "config/tablereader.h"
#include "platform/common/log.h"

namespace quorvad
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "confighandler";

bool readInterface(IConfigClient& a_oClient,
                   const char* a_pTable,
                   const std::vector<const char*>& a_oColumns,
                   const std::string& a_strInterface,
                   korrin::ValueList& a_oRow)
{
    korrin::NameList oColumns;
    for (const char* pColumn : a_oColumns)
    {
        oColumns.add(pColumn);
    }
    return a_oClient.getrowbykey(a_pTable, dbm::Name, a_strInterface, oColumns, a_oRow) == 0;
}

} // namespace

// Both ways of reading an interface (full reload, notification) use the same columns: another list would count as a
// change of the row.
ConfigHandler::InterfaceTable ConfigHandler::netifWatchTable()
{
    return {dbm::Table_StatusNetifWatch, {dbm::Id, dbm::Addr, dbm::IsUp, dbm::Name}, m_oNetifWatch};
}

ConfigHandler::InterfaceTable ConfigHandler::netifIPv6Table()
{
    return {dbm::Table_StatusNetIfIPv6Addresses, {dbm::Id, dbm::Addr, dbm::Name}, m_oNetifIPv6};
}

// On the way of a full reload an interface that can't be read keeps what was known of it.
void ConfigHandler::loadInterface(IConfigClient& a_oClient,
                                  const InterfaceTable& a_oTable,
                                  const std::string& a_strInterface)
{
    korrin::ValueList oRow;
    if (readInterface(a_oClient, a_oTable.m_pTable, a_oTable.m_oColumns, a_strInterface, oRow))
    {
        storeInterface(a_oTable, a_strInterface, oRow);
    }
}

void ConfigHandler::refreshInterfaces(IConfigClient& a_oClient, const InterfaceTable& a_oTable)
{
    forEachRow(a_oClient,
               dbm::Table_DynDns,
               [&](const korrin::ValueList& a_oAccount)
               {
                   const std::string strInterface = textOf(a_oAccount, dbm::Interface);
                   if (!strInterface.empty())
                   {
                       refreshInterface(a_oClient, a_oTable, strInterface);
                   }
               });
}

// The status table has just changed: an interface that is no longer in it is gone.
void ConfigHandler::refreshInterface(IConfigClient& a_oClient,
                                     const InterfaceTable& a_oTable,
                                     const std::string& a_strInterface)
{
    korrin::ValueList oRow;
    if (!readInterface(a_oClient, a_oTable.m_pTable, a_oTable.m_oColumns, a_strInterface, oRow))
    {
        LOG_DEBUG("DB entry '%s' for '%s' not accessible => delete related cached obj.",
                  a_oTable.m_pTable,
                  a_strInterface.c_str());
        a_oTable.m_oRows.erase(a_strInterface);
        return;
    }
    const ConfigObject* pRow = storeInterface(a_oTable, a_strInterface, oRow);
    if (pRow != nullptr)
    {
        LOG_DEBUG("cached obj changed? %s", pRow->m_bChanged ? "YES" : "NO");
    }
}

// The cached row after the update; null when the row was skipped.
const ConfigObject* ConfigHandler::storeInterface(const InterfaceTable& a_oTable,
                                                  const std::string& a_strInterface,
                                                  korrin::ValueList& a_oRow)
{
    if (!hasId(a_oTable.m_pTable, a_oRow))
    {
        return nullptr;
    }
    auto it = a_oTable.m_oRows.find(a_strInterface);
    if (it == a_oTable.m_oRows.end())
    {
        const int iId = a_oRow.getValue(dbm::Id).getInteger();
        auto pRow = std::make_unique<ConfigObject>(a_oTable.m_pTable, static_cast<unsigned int>(iId));
        it = a_oTable.m_oRows.emplace(a_strInterface, std::move(pRow)).first;
    }
    it->second->updateSnapshot(a_oRow);
    return it->second.get();
}

} // namespace quorvad
