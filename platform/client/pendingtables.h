#pragma once

#include <list>
#include <string>
#include <vector>

namespace vadro::cfg
{

/// Which watched tables wait to be delivered: each at most once, always in the order in which they are watched.
class PendingTables
{
public:
    /// Replaces what is watched; nothing is pending then. A name that stands there twice is watched once.
    void watch(const std::list<std::string>& a_oNames);
    [[nodiscard]] std::list<std::string> getWatched() const;

    /// A table that is not watched is ignored.
    void mark(const std::string& a_strTable);
    void markFirst();
    void markAll();

    [[nodiscard]] bool isEmpty() const;
    [[nodiscard]] std::vector<std::string> getPending() const;
    /// True if it was pending; it is no more.
    bool take(const std::string& a_strTable);

private:
    struct Table
    {
        std::string m_strName;
        bool m_bPending = false;
    };
    Table* find(const std::string& a_strTable);

    std::vector<Table> m_oTables;
};

} // namespace vadro::cfg
