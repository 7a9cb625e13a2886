#pragma once

#include "platform/wire/message.h"

#include <list>
#include <map>
#include <string>

namespace vadro::cfg
{

/// What was read ahead for the handler's call that is going on. A handler reads tables row by row, and the same rows
/// by key again and again; out of here most of that comes without a round trip to the service each.
///
/// Holds at most one page per table that is read in order and some rows per key column, and nothing at all outside a
/// delivery. Pure: asks nobody.
class ReadAhead
{
public:
    /// A call of the handler begins or ends: what was read for another one is forgotten.
    void setDelivering(bool a_bDelivering);
    /// The table changed, or may have.
    void forget(const std::string& a_strTable);
    void forgetAll();

    /// The rows of the table were counted: they will be read one after the other.
    void expectRows(const std::string& a_strTable, std::uint32_t a_uiCount);
    /// Whether the row is the next of a table that is read in order, and nothing is left of it here.
    [[nodiscard]] bool wantsPage(const std::string& a_strTable, std::uint32_t a_uiIndex) const;
    /// The rows from the next one on; none: the service has no pages to give, and is not asked again.
    void keepPage(const std::string& a_strTable, std::list<korrin::ValueList> a_oRows);
    /// True if the row was here; it is moved out, and the one behind it is the next.
    [[nodiscard]] bool takeRow(const std::string& a_strTable, std::uint32_t a_uiIndex, korrin::ValueList& a_oValues);

    /// The reply to an equal read by key; null: not known.
    [[nodiscard]] const wire::Reply* find(const wire::Request& a_oRead);
    /// Called before each such read: whether so many keys were asked for that the rows of the table are worth one
    /// transfer. At most once.
    [[nodiscard]] bool wantsRows(const wire::Request& a_oRead);
    /// The first rows of the table, with the columns of the read. Nothing is kept, here and below, when the table
    /// changed since wantsRows(): the reply may be older than the change.
    void keepRows(const wire::Request& a_oRead, std::list<korrin::ValueList> a_oRows);
    void keep(const wire::Request& a_oRead, wire::Reply a_oReply);

private:
    struct Sequence
    {
        std::uint32_t m_uiNext = 0;
        std::list<korrin::ValueList> m_oRows; // the next one first
    };
    struct Keyed
    {
        std::string m_strColumn;
        korrin::NameList m_oNames;
        std::map<std::string, wire::Reply> m_oReplies; // by the key's value
        bool m_bFetched = false;
    };
    Keyed* openKeyed(const wire::Request& a_oRead);
    [[nodiscard]] Keyed* findKeyed(const wire::Request& a_oRead);

    bool m_bDelivering = false;
    std::map<std::string, Sequence> m_oSequences; // by table
    std::map<std::string, Keyed> m_oKeyed;        // by table
};

} // namespace vadro::cfg
