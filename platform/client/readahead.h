#pragma once

#include "platform/wire/message.h"

#include <list>
#include <map>
#include <optional>
#include <string>

namespace platform
{

/// What was read ahead for the handler's call that is going on. A handler reads tables row by row, and the same rows
/// by key again and again; out of here most of that comes without a round trip to the service each.
///
/// A read is a request for one row, by position (GetRow) or by key (GetRowByKey). Per table and way of reading, replies
/// are kept for one choice of columns: at most one page of rows by position, a bounded number of rows by key, and
/// nothing at all outside a delivery. Pure: asks nobody.
class ReadAhead
{
public:
    /// A call of the handler begins or ends: what was read for another one is forgotten.
    void setDelivering(bool a_bDelivering);
    /// The table changed, or may have. A reply that was under way meanwhile is not kept: it may be older.
    void forget(const std::string& a_strTable);
    void forgetAll() { m_oReads.clear(); }

    /// The rows of the table were counted: they will be read one after the other.
    void expectRows(const std::string& a_strTable, std::uint32_t a_uiCount);

    /// The reply to an equal read; none: not known. By position rows are given once and in their order only.
    [[nodiscard]] std::optional<wire::Reply> find(const wire::Request& a_oRead);
    /// Called for what is not known, before the service is asked: the request for the page of rows to fetch first, if
    /// that is worth it. By position, when the row is the next of a table that is read in order; by key, once, when
    /// several keys were asked for.
    [[nodiscard]] std::optional<wire::Request> wantPage(const wire::Request& a_oRead);
    /// The reply to that request; without rows, pages are wanted no more.
    void keepPage(const wire::Request& a_oRead, wire::Reply a_oPage);
    void keep(const wire::Request& a_oRead, const wire::Reply& a_oReply);

private:
    struct Reads
    {
        wire::Request m_oFirst;                        // the others differ from it in position or key's value only
        std::list<korrin::ValueList> m_oRows;          // by position: from m_uiNext on
        std::map<std::string, wire::Reply> m_oReplies; // by key
        std::uint32_t m_uiNext = 0;
        bool m_bPageWanted = true;
    };
    using AllReads = std::list<Reads>;
    [[nodiscard]] AllReads::iterator findWay(const std::string& a_strTable, wire::Operation a_eWay);
    [[nodiscard]] Reads* findReads(const wire::Request& a_oRead);

    bool m_bDelivering = false;
    AllReads m_oReads; // one per table and way of reading, so a handful
};

} // namespace platform
