#pragma once

#include "netifwatch/operation.h"

#include <set>
#include <string>
#include <tuple>

namespace netifwatch
{

/// A row of DNSClientServer that this program wrote. The Id alone tells it, as long as the database is the same; with
/// interface and address it is told from a stranger's row of another database, too.
struct OwnRow
{
    int m_iId = 0;
    std::string m_strInterface;
    std::string m_strAddress;

    bool operator<(const OwnRow& a_oOther) const
    {
        return std::tie(m_iId, m_strInterface, m_strAddress) <
               std::tie(a_oOther.m_iId, a_oOther.m_strInterface, a_oOther.m_strAddress);
    }
};
using OwnRows = std::set<OwnRow>;

/// The row of the table as it would be noted. Pure.
[[nodiscard]] OwnRow describeRow(const korrin::ValueList& a_oRow);

/// The file in which the rows are noted, so that they are known again after a restart: "ID INTERFACE ADDRESS" lines.
class OwnRowsFile
{
public:
    explicit OwnRowsFile(std::string a_strPath) : m_strPath(std::move(a_strPath)) {}

    /// What is noted; nothing where there is no file. Lines that make no sense are passed over. Throws
    /// std::system_error when the file is there and can't be read: to take its rows for a stranger's would be wrong.
    [[nodiscard]] OwnRows load() const;

    /// Replaces the file, whole or not at all, and has it on disk; its folder is made where the parent exists. Throws
    /// std::system_error.
    void save(const OwnRows& a_oRows) const;

    [[nodiscard]] const std::string& getPath() const { return m_strPath; }

private:
    std::string m_strPath;
};

} // namespace netifwatch
