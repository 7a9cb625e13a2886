#include "platform/client/readahead.h"

#include <algorithm>
#include <utility>

namespace vadro::cfg
{

namespace
{

constexpr std::size_t s_uiKeysBeforeFetch = 3;
constexpr std::size_t s_uiMaxReplies = 2048;

bool isSameRead(const std::string& a_strColumn, const korrin::NameList& a_oNames, const wire::Request& a_oRead)
{
    return a_strColumn == a_oRead.m_strKeyColumn && a_oNames == a_oRead.m_oNames;
}

} // namespace

void ReadAhead::setDelivering(bool a_bDelivering)
{
    m_bDelivering = a_bDelivering;
    forgetAll();
}

void ReadAhead::forget(const std::string& a_strTable)
{
    m_oSequences.erase(a_strTable);
    m_oKeyed.erase(a_strTable);
}

void ReadAhead::forgetAll()
{
    m_oSequences.clear();
    m_oKeyed.clear();
}

void ReadAhead::expectRows(const std::string& a_strTable, std::uint32_t a_uiCount)
{
    m_oSequences.erase(a_strTable);
    if (m_bDelivering && a_uiCount > 1)
    {
        m_oSequences[a_strTable];
    }
}

bool ReadAhead::wantsPage(const std::string& a_strTable, std::uint32_t a_uiIndex) const
{
    const auto it = m_oSequences.find(a_strTable);
    return it != m_oSequences.end() && it->second.m_uiNext == a_uiIndex && it->second.m_oRows.empty();
}

void ReadAhead::keepPage(const std::string& a_strTable, std::list<korrin::ValueList> a_oRows)
{
    const auto it = m_oSequences.find(a_strTable); // it may have changed while the page came
    if (it != m_oSequences.end() && a_oRows.empty())
    {
        m_oSequences.erase(it);
    }
    else if (it != m_oSequences.end())
    {
        it->second.m_oRows = std::move(a_oRows);
    }
}

bool ReadAhead::takeRow(const std::string& a_strTable, std::uint32_t a_uiIndex, korrin::ValueList& a_oValues)
{
    const auto it = m_oSequences.find(a_strTable);
    if (it == m_oSequences.end() || it->second.m_uiNext != a_uiIndex || it->second.m_oRows.empty())
    {
        return false;
    }
    a_oValues = std::move(it->second.m_oRows.front());
    it->second.m_oRows.pop_front();
    ++it->second.m_uiNext;
    return true;
}

const wire::Reply* ReadAhead::find(const wire::Request& a_oRead)
{
    const Keyed* pKeyed = findKeyed(a_oRead);
    if (pKeyed == nullptr)
    {
        return nullptr;
    }
    const auto itReply = pKeyed->m_oReplies.find(a_oRead.m_strKeyValue);
    return itReply != pKeyed->m_oReplies.end() ? &itReply->second : nullptr;
}

bool ReadAhead::wantsRows(const wire::Request& a_oRead)
{
    const korrin::NameList& oNames = a_oRead.m_oNames;
    Keyed* pKeyed = openKeyed(a_oRead);
    if (pKeyed == nullptr || pKeyed->m_bFetched || pKeyed->m_oReplies.size() < s_uiKeysBeforeFetch ||
        std::find(oNames.begin(), oNames.end(), a_oRead.m_strKeyColumn) == oNames.end())
    {
        return false;
    }
    pKeyed->m_bFetched = true;
    return true;
}

void ReadAhead::keepRows(const wire::Request& a_oRead, std::list<korrin::ValueList> a_oRows)
{
    wire::Request oRead = a_oRead;
    while (!a_oRows.empty())
    {
        wire::Reply oReply;
        oReply.m_oRows.splice(oReply.m_oRows.end(), a_oRows, a_oRows.begin());
        oRead.m_strKeyValue = std::as_const(oReply.m_oRows.front()).getValue(oRead.m_strKeyColumn).getText();
        keep(oRead, std::move(oReply));
    }
}

void ReadAhead::keep(const wire::Request& a_oRead, wire::Reply a_oReply)
{
    const bool bAnswered = a_oReply.m_eResult == wire::Result::Ok || a_oReply.m_eResult == wire::Result::NoSuchRow;
    Keyed* pKeyed = findKeyed(a_oRead);
    if (bAnswered && pKeyed != nullptr && pKeyed->m_oReplies.size() < s_uiMaxReplies)
    {
        // The first row of a key is the one that counts.
        pKeyed->m_oReplies.emplace(a_oRead.m_strKeyValue, std::move(a_oReply));
    }
}

// One kind of read per table is kept, the first: a handler has no other.
ReadAhead::Keyed* ReadAhead::openKeyed(const wire::Request& a_oRead)
{
    if (m_bDelivering)
    {
        m_oKeyed.emplace(a_oRead.m_strTable, Keyed{a_oRead.m_strKeyColumn, a_oRead.m_oNames, {}, false});
    }
    return findKeyed(a_oRead);
}

ReadAhead::Keyed* ReadAhead::findKeyed(const wire::Request& a_oRead)
{
    const auto it = m_oKeyed.find(a_oRead.m_strTable);
    const bool bSame = it != m_oKeyed.end() && isSameRead(it->second.m_strColumn, it->second.m_oNames, a_oRead);
    return bSame ? &it->second : nullptr;
}

} // namespace vadro::cfg
