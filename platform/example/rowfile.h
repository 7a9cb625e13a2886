#pragma once

#include "vadro/cfg/common/iconfigclient.h"

#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>

/// All tables in one text file: a row is a line, its parts are separated by tabs: the table's name, then column=value.
///
/// Whoever else changes the file writes a new one and renames it. A lock file keeps nobody out here, so a change that
/// falls between the daemon's getdbaccess and commit is lost: what a real database is for.
class RowFile : public vadro::cfg::common::IConfigClient
{
public:
    using Rows = std::vector<korrin::ValueList>;
    using Tables = std::map<std::string, Rows>;

    explicit RowFile(std::string a_strPath) : m_strPath(std::move(a_strPath)) {}

    /// Reads the file if it is another than the one read last. Throws std::runtime_error if that is impossible.
    /// Returns the tables as they were before.
    Tables refresh();
    [[nodiscard]] bool differs(const Tables& a_oBefore, const std::string& a_strTable) const;

    Result getrowcount(const std::string& a_strTable, unsigned int& a_uiCount) override;
    Result getrow(const std::string& a_strTable,
                  unsigned int a_uiIndex,
                  korrin::NameList& a_oColumns,
                  korrin::ValueList& a_oValues) override;
    Result getrowbykey(const std::string& a_strTable,
                       const std::string& a_strKeyColumn,
                       const std::string& a_strKeyValue,
                       korrin::NameList& a_oColumns,
                       korrin::ValueList& a_oValues) override;
    Result insertrow(const std::string& a_strTable, korrin::ValueList a_oValues) override;
    Result updatekey(const std::string& a_strTable,
                     const std::string& a_strKeyColumn,
                     const std::string& a_strKeyValue,
                     korrin::ValueList a_oValues) override;
    Result deleterow(const std::string& a_strTable, unsigned int a_uiIndex) override;
    bool hasdbaccess() override { return m_bWriting; }
    Result getdbaccess() override;
    Result commit() override;

private:
    korrin::ValueList*
    findRow(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strValue);

    std::string m_strPath;
    struct stat m_oRead = {};
    Tables m_oTables;
    bool m_bWriting = false;
};
