#pragma once

#include "netifwatch/tableplan.h"

#include <set>
#include <string>
#include <vector>

namespace netifwatch
{

/// The change-over from version 1.1, which noted the watcher's rows of DNSClientServer in a file of "ID INTERFACE
/// ADDRESS" lines instead of marking them in the table. One thread. Errors with a file are logged only.
class EarlierNotes
{
public:
    /// Reads the files that exist.
    explicit EarlierNotes(const std::vector<std::string>& a_oPaths);

    /// The writes that mark the noted rows whose Origin is empty; a_oPresent has the marks afterwards. A row is noted
    /// if Id, interface and address agree.
    [[nodiscard]] Operations claim(Rows& a_oPresent);

    /// To be called when the marks are in the table: removes the files. One without a row that claim() found stays: it
    /// belongs to another database.
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
