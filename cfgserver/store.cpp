#include "cfgserver/store.h"

#include "cfgserver/database.h"
#include "cfgserver/refusal.h"

namespace cfgserver
{

Transaction::Transaction(const Store& a_oStore) : m_oStore(a_oStore), m_oEdited(getSchema().size())
{
}

const Table& Transaction::getTable(std::size_t a_uiTable) const
{
    return m_oEdited[a_uiTable] ? *m_oEdited[a_uiTable] : m_oStore.getTable(a_uiTable);
}

Table& Transaction::edit(std::size_t a_uiTable)
{
    if (!m_oEdited[a_uiTable])
    {
        m_oEdited[a_uiTable] = m_oStore.getTable(a_uiTable);
    }
    return *m_oEdited[a_uiTable];
}

Store::Store(Database& a_oDatabase) : m_oDatabase(a_oDatabase)
{
    for (const TableSchema& oSchema : getSchema())
    {
        m_oTables.push_back(oSchema.m_bVolatile ? Table(oSchema) : a_oDatabase.load(oSchema));
    }
    a_oDatabase.accept();
}

std::vector<std::size_t> Store::commit(Transaction& a_oTransaction)
{
    std::vector<std::size_t> oChanged;
    std::vector<TableChange> oChanges;
    for (std::size_t uiTable = 0; uiTable < m_oTables.size(); ++uiTable)
    {
        const std::optional<Table>& oEdited = a_oTransaction.m_oEdited[uiTable];
        if (!oEdited || oEdited->holdsSame(m_oTables[uiTable]))
        {
            continue;
        }
        oChanged.push_back(uiTable);
        if (!oEdited->getSchema().m_bVolatile)
        {
            oChanges.push_back({m_oTables[uiTable], *oEdited});
        }
    }
    m_oDatabase.save(oChanges);
    for (const std::size_t uiTable : oChanged)
    {
        m_oTables[uiTable] = std::move(*a_oTransaction.m_oEdited[uiTable]);
    }
    return oChanged;
}

} // namespace cfgserver
