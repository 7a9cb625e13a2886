#pragma once

#include "netifwatch/tableplan.h"

#include <set>
#include <string>
#include <vector>

namespace netifwatch
{

/// The change-over from the time when the watcher's rows of DNSClientServer were noted in a file, "ID INTERFACE
/// ADDRESS" lines, instead of being marked in the table. One thread. What goes wrong with a file is logged and ends
/// nothing.
class EarlierNotes
{
public:
    /// Reads the files, those that there are. Lines that make no sense match no row.
    explicit EarlierNotes(const std::vector<std::string>& a_oPaths);

    /// The writes that mark the noted rows whose Origin is empty; a_oPresent has the marks afterwards. A row is a noted
    /// one when Id, interface and address agree.
    [[nodiscard]] Operations claim(Rows& a_oPresent);

    /// To be called when the marks are in the table: removes the files. One of whose rows claim() found none stays: it
    /// is about another database.
    void discard();

private:
    struct File
    {
        std::string m_strPath;
        std::set<std::string> m_oLines;
        bool m_bFound = false; // one of its rows is in the table
    };

    void read(const std::string& a_strPath);
    /// Whether the row is noted; remembers in which files.
    [[nodiscard]] bool find(const korrin::ValueList& a_oRow);

    std::vector<File> m_oFiles;
    std::uint32_t m_iModuleId;
};

} // namespace netifwatch
