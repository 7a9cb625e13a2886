#include "platform/client/readahead.h"

#include <algorithm>

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

std::string keyOf(const wire::Request& a_oRead)
{
    return isByKey(a_oRead) ? a_oRead.m_strKeyValue : std::to_string(a_oRead.m_uiNumber);
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
    m_oReads.erase({a_strTable, wire::Operation::GetRow});
    m_oReads.erase({a_strTable, wire::Operation::GetRowByKey});
}

void ReadAhead::expectRows(const std::string& a_strTable, std::uint32_t a_uiCount)
{
    m_oReads.erase({a_strTable, wire::Operation::GetRow});
    if (m_bDelivering && a_uiCount > 1)
    {
        m_oReads[{a_strTable, wire::Operation::GetRow}];
    }
}

std::optional<wire::Reply> ReadAhead::find(const wire::Request& a_oRead)
{
    Reads* pReads = findReads(a_oRead);
    if (pReads == nullptr)
    {
        return std::nullopt;
    }
    const auto it = pReads->m_oReplies.find(keyOf(a_oRead));
    if (it == pReads->m_oReplies.end())
    {
        return std::nullopt;
    }
    if (isByKey(a_oRead))
    {
        return it->second;
    }
    return std::move(pReads->m_oReplies.extract(it).mapped());
}

std::optional<wire::Request> ReadAhead::wantPage(const wire::Request& a_oRead)
{
    if (m_bDelivering && isByKey(a_oRead))
    {
        // The first choice of columns is kept: a handler has no other.
        m_oReads.try_emplace({a_oRead.m_strTable, a_oRead.m_eOperation},
                             Reads{a_oRead.m_strKeyColumn, a_oRead.m_oNames, {}, 0});
    }
    const Reads* pReads = findReads(a_oRead);
    if (pReads == nullptr || !pReads->m_uiNextPage)
    {
        return std::nullopt;
    }
    const bool bWanted = isByKey(a_oRead) ? pReads->m_oReplies.size() >= s_uiKeysBeforePage && namesItsKey(a_oRead)
                                          : *pReads->m_uiNextPage == a_oRead.m_uiNumber;
    if (!bWanted)
    {
        return std::nullopt;
    }
    wire::Request oPage;
    oPage.m_eOperation = wire::Operation::GetRows;
    oPage.m_strTable = a_oRead.m_strTable;
    oPage.m_uiNumber = *pReads->m_uiNextPage;
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
    const bool bByKey = isByKey(a_oRead);
    if (!bByKey)
    {
        pReads->m_oReplies.clear(); // rows of the page before that nobody read
    }
    const auto uiCount = static_cast<std::uint32_t>(a_oPage.m_oRows.size());
    pReads->m_uiNextPage = bByKey || uiCount == 0 ? std::nullopt : std::optional(a_oRead.m_uiNumber + uiCount);
    wire::Request oRow = a_oRead;
    while (!a_oPage.m_oRows.empty() && (!bByKey || pReads->m_oReplies.size() < s_uiMaxKeyed))
    {
        wire::Reply oReply;
        oReply.m_oRows.splice(oReply.m_oRows.end(), a_oPage.m_oRows, a_oPage.m_oRows.begin());
        oRow.m_strKeyValue = std::as_const(oReply.m_oRows.front()).getValue(oRow.m_strKeyColumn).getText();
        pReads->m_oReplies.emplace(keyOf(oRow), std::move(oReply)); // the first row of a key is the one that counts
        ++oRow.m_uiNumber;
    }
}

void ReadAhead::keep(const wire::Request& a_oRead, const wire::Reply& a_oReply)
{
    const bool bAnswered = a_oReply.m_eResult == wire::Result::Ok || a_oReply.m_eResult == wire::Result::NoSuchRow;
    Reads* pReads = isByKey(a_oRead) && bAnswered ? findReads(a_oRead) : nullptr;
    if (pReads != nullptr && pReads->m_oReplies.size() < s_uiMaxKeyed)
    {
        pReads->m_oReplies.emplace(keyOf(a_oRead), a_oReply);
    }
}

ReadAhead::Reads* ReadAhead::findReads(const wire::Request& a_oRead)
{
    const auto it = m_oReads.find({a_oRead.m_strTable, a_oRead.m_eOperation});
    const bool bSame = it != m_oReads.end() && it->second.m_strKeyColumn == a_oRead.m_strKeyColumn &&
                       it->second.m_oNames == a_oRead.m_oNames;
    return bSame ? &it->second : nullptr;
}

} // namespace platform
