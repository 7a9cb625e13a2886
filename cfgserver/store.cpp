#include "cfgserver/store.h"

#include "cfgserver/database.h"
#include "cfgserver/refusal.h"
#include "cfgserver/statefile.h"

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

Store::Store(Database& a_oDatabase, StateFile* a_pState) : m_oDatabase(a_oDatabase), m_pState(a_pState)
{
    for (const TableSchema& oSchema : getSchema())
    {
        if (keptOf(oSchema) == EKept::eForGood)
        {
            m_oTables.push_back(a_oDatabase.load(oSchema));
            continue;
        }
        m_oTables.push_back(m_pState != nullptr ? m_pState->take(oSchema) : Table(oSchema));
    }
    a_oDatabase.accept();
}

std::vector<std::size_t> Store::commit(Transaction& a_oTransaction)
{
    std::vector<std::size_t> oChanged;
    TableChanges oChanges; // of the database
    TableChanges oStates;  // of the state file
    for (std::size_t uiTable = 0; uiTable < m_oTables.size(); ++uiTable)
    {
        const std::optional<Table>& oEdited = a_oTransaction.m_oEdited[uiTable];
        const Table& oBefore = m_oTables[uiTable];
        const bool bDifferent = oEdited && !oEdited->holdsSame(oBefore);
        const EKept eKept = keptOf(oBefore.getSchema());
        TableChanges& oOfKind = eKept == EKept::eForGood ? oChanges : oStates;
        if (eKept != EKept::eNotAtAll)
        {
            oOfKind.m_oAll.push_back(bDifferent ? &*oEdited : &oBefore);
        }
        if (bDifferent)
        {
            oChanged.push_back(uiTable);
            oOfKind.m_oDifferent.push_back({oBefore, *oEdited});
        }
    }
    m_oDatabase.save(oChanges);
    if (m_pState != nullptr)
    {
        m_pState->save(oStates);
    }
    for (const std::size_t uiTable : oChanged)
    {
        m_oTables[uiTable] = std::move(*a_oTransaction.m_oEdited[uiTable]);
    }
    return oChanged;
}

} // namespace cfgserver
