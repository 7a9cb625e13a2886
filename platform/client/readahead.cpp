#include "platform/client/readahead.h"

#include <algorithm>
#include <utility>

namespace platform
{

namespace
{

constexpr std::size_t s_uiKeysBeforePage = 3;
constexpr std::size_t s_uiMaxKeyed = 2048;

bool isByKey(const wire::Request& a_oRead)
{
    return a_oRead.m_eOperation == wire::Operation::GetRowByKey;
}

bool namesItsKey(const wire::Request& a_oRead)
{
    const korrin::NameList& oNames = a_oRead.m_oNames;
    return std::find(oNames.begin(), oNames.end(), a_oRead.m_strKeyColumn) != oNames.end();
}

} // namespace

void ReadAhead::setDelivering(bool a_bDelivering)
{
    m_bDelivering = a_bDelivering;
    forgetAll();
}

void ReadAhead::forget(const std::string& a_strTable)
{
    m_oReads.remove_if([&](const Reads& a_oReads) { return a_oReads.m_oFirst.m_strTable == a_strTable; });
}

void ReadAhead::expectRows(const std::string& a_strTable, std::uint32_t a_uiCount)
{
    const auto it = findWay(a_strTable, wire::Operation::GetRow);
    if (it != m_oReads.end())
    {
        m_oReads.erase(it);
    }
    if (m_bDelivering && a_uiCount > 1)
    {
        wire::Request& oFirst = m_oReads.emplace_back().m_oFirst;
        oFirst.m_eOperation = wire::Operation::GetRow;
        oFirst.m_strTable = a_strTable;
    }
}

std::optional<wire::Reply> ReadAhead::find(const wire::Request& a_oRead)
{
    Reads* pReads = findReads(a_oRead);
    if (pReads == nullptr)
    {
        return std::nullopt;
    }
    if (isByKey(a_oRead))
    {
        const auto it = pReads->m_oReplies.find(a_oRead.m_strKeyValue);
        return it != pReads->m_oReplies.end() ? std::optional(it->second) : std::nullopt;
    }
    if (pReads->m_oRows.empty() || pReads->m_uiNext != a_oRead.m_uiNumber)
    {
        return std::nullopt;
    }
    ++pReads->m_uiNext;
    wire::Reply oReply;
    oReply.m_oRows.splice(oReply.m_oRows.end(), pReads->m_oRows, pReads->m_oRows.begin());
    return oReply;
}

std::optional<wire::Request> ReadAhead::wantPage(const wire::Request& a_oRead)
{
    if (m_bDelivering && isByKey(a_oRead) && findWay(a_oRead.m_strTable, a_oRead.m_eOperation) == m_oReads.end())
    {
        m_oReads.emplace_back().m_oFirst = a_oRead; // the only choice of columns that is kept: a handler has no other
    }
    const Reads* pReads = findReads(a_oRead);
    if (pReads == nullptr || !pReads->m_bPageWanted)
    {
        return std::nullopt;
    }
    const bool bWanted = isByKey(a_oRead) ? pReads->m_oReplies.size() >= s_uiKeysBeforePage && namesItsKey(a_oRead)
                                          : pReads->m_oRows.empty() && pReads->m_uiNext == a_oRead.m_uiNumber;
    if (!bWanted)
    {
        return std::nullopt;
    }
    wire::Request oPage;
    oPage.m_eOperation = wire::Operation::GetRows;
    oPage.m_strTable = a_oRead.m_strTable;
    oPage.m_uiNumber = pReads->m_uiNext;
    oPage.m_oNames = a_oRead.m_oNames;
    return oPage;
}

void ReadAhead::keepPage(const wire::Request& a_oRead, wire::Reply a_oPage)
{
    Reads* pReads = findReads(a_oRead);
    if (pReads == nullptr)
    {
        return; // the table changed while the page came
    }
    if (a_oPage.m_eResult != wire::Result::Ok)
    {
        a_oPage.m_oRows.clear();
    }
    pReads->m_bPageWanted = !isByKey(a_oRead) && !a_oPage.m_oRows.empty();
    if (!isByKey(a_oRead))
    {
        pReads->m_oRows = std::move(a_oPage.m_oRows);
        return;
    }
    while (!a_oPage.m_oRows.empty() && pReads->m_oReplies.size() < s_uiMaxKeyed)
    {
        wire::Reply oReply;
        oReply.m_oRows.splice(oReply.m_oRows.end(), a_oPage.m_oRows, a_oPage.m_oRows.begin());
        const std::string strKey = std::as_const(oReply.m_oRows.front()).getValue(a_oRead.m_strKeyColumn).getText();
        pReads->m_oReplies.emplace(strKey, std::move(oReply)); // the first row of a key is the one that counts
    }
}

void ReadAhead::keep(const wire::Request& a_oRead, const wire::Reply& a_oReply)
{
    const bool bAnswered = a_oReply.m_eResult == wire::Result::Ok || a_oReply.m_eResult == wire::Result::NoSuchRow;
    Reads* pReads = isByKey(a_oRead) && bAnswered ? findReads(a_oRead) : nullptr;
    if (pReads != nullptr && pReads->m_oReplies.size() < s_uiMaxKeyed)
    {
        pReads->m_oReplies.emplace(a_oRead.m_strKeyValue, a_oReply);
    }
}

ReadAhead::AllReads::iterator ReadAhead::findWay(const std::string& a_strTable, wire::Operation a_eWay)
{
    return std::find_if(m_oReads.begin(),
                        m_oReads.end(),
                        [&](const Reads& a_oReads) {
                            return a_oReads.m_oFirst.m_eOperation == a_eWay &&
                                   a_oReads.m_oFirst.m_strTable == a_strTable;
                        });
}

ReadAhead::Reads* ReadAhead::findReads(const wire::Request& a_oRead)
{
    const auto it = findWay(a_oRead.m_strTable, a_oRead.m_eOperation);
    const bool bSame = it != m_oReads.end() && it->m_oFirst.m_strKeyColumn == a_oRead.m_strKeyColumn &&
                       it->m_oFirst.m_oNames == a_oRead.m_oNames;
    return bSame ? &*it : nullptr;
}

} // namespace platform
