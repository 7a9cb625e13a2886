#include "rowfile.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

using korrin::Value;
using korrin::ValueList;

namespace
{

constexpr unsigned int s_uiNoSuchRow = 1;
constexpr unsigned int s_uiNotWritten = 2;

ValueList parseRow(std::istringstream& a_oLine)
{
    ValueList oRow;
    for (std::string strCell; std::getline(a_oLine, strCell, '\t');)
    {
        const std::size_t uiSign = strCell.find('=');
        if (uiSign != std::string::npos)
        {
            oRow.add(strCell.substr(0, uiSign), Value(korrin::eValueText, strCell.substr(uiSign + 1)));
        }
    }
    return oRow;
}

RowFile::Rows rowsOf(const RowFile::Tables& a_oTables, const std::string& a_strTable)
{
    const auto it = a_oTables.find(a_strTable);
    return it != a_oTables.end() ? it->second : RowFile::Rows();
}

// The columns asked for, those that are there; all without a wish.
ValueList select(const ValueList& a_oRow, const korrin::NameList& a_oColumns)
{
    ValueList oSelected;
    for (const std::string& strName : a_oColumns)
    {
        if (a_oRow.hasValue(strName))
        {
            oSelected.add(strName, a_oRow.getValue(strName));
        }
    }
    return a_oColumns.empty() ? a_oRow : oSelected;
}

// An answer from outside must not make a row of its own.
std::string oneLine(std::string a_strText)
{
    std::replace_if(
        a_strText.begin(), a_strText.end(), [](char a_cOne) { return a_cOne == '\t' || a_cOne == '\n'; }, ' ');
    return a_strText;
}

} // namespace

RowFile::Tables RowFile::refresh()
{
    Tables oBefore = m_oTables;
    struct stat oNow = {};
    if (stat(m_strPath.c_str(), &oNow) == 0 && oNow.st_ino == m_oRead.st_ino && oNow.st_size == m_oRead.st_size &&
        oNow.st_mtim.tv_sec == m_oRead.st_mtim.tv_sec && oNow.st_mtim.tv_nsec == m_oRead.st_mtim.tv_nsec)
    {
        return oBefore;
    }
    std::ifstream oFile(m_strPath);
    if (!oFile)
    {
        throw std::runtime_error("Can't read " + m_strPath + ": " + std::generic_category().message(errno));
    }
    m_oTables.clear();
    for (std::string strLine, strTable; std::getline(oFile, strLine);)
    {
        std::istringstream oLine(strLine);
        if (std::getline(oLine, strTable, '\t'))
        {
            m_oTables[strTable].push_back(parseRow(oLine));
        }
    }
    m_oRead = oNow;
    return oBefore;
}

bool RowFile::differs(const Tables& a_oBefore, const std::string& a_strTable) const
{
    return rowsOf(a_oBefore, a_strTable) != rowsOf(m_oTables, a_strTable);
}

RowFile::Result RowFile::getrowcount(const std::string& a_strTable, unsigned int& a_uiCount)
{
    a_uiCount = static_cast<unsigned int>(m_oTables[a_strTable].size());
    return 0;
}

RowFile::Result RowFile::getrow(const std::string& a_strTable,
                                unsigned int a_uiIndex,
                                korrin::NameList& a_oColumns,
                                ValueList& a_oValues)
{
    const Rows& oRows = m_oTables[a_strTable];
    if (a_uiIndex >= oRows.size())
    {
        return s_uiNoSuchRow;
    }
    a_oValues = select(oRows[a_uiIndex], a_oColumns);
    return 0;
}

RowFile::Result RowFile::getrowbykey(const std::string& a_strTable,
                                     const std::string& a_strKeyColumn,
                                     const std::string& a_strKeyValue,
                                     korrin::NameList& a_oColumns,
                                     ValueList& a_oValues)
{
    const ValueList* pRow = findRow(a_strTable, a_strKeyColumn, a_strKeyValue);
    if (pRow == nullptr)
    {
        return s_uiNoSuchRow;
    }
    a_oValues = select(*pRow, a_oColumns);
    return 0;
}

RowFile::Result RowFile::insertrow(const std::string& a_strTable, ValueList a_oValues)
{
    m_oTables[a_strTable].push_back(std::move(a_oValues));
    return 0;
}

RowFile::Result RowFile::updatekey(const std::string& a_strTable,
                                   const std::string& a_strKeyColumn,
                                   const std::string& a_strKeyValue,
                                   ValueList a_oValues)
{
    ValueList* pRow = findRow(a_strTable, a_strKeyColumn, a_strKeyValue);
    if (pRow == nullptr)
    {
        return s_uiNoSuchRow;
    }
    for (const auto& [strName, oValue] : a_oValues)
    {
        pRow->remove(strName);
        pRow->add(strName, oValue);
    }
    return 0;
}

RowFile::Result RowFile::deleterow(const std::string& a_strTable, unsigned int a_uiIndex)
{
    Rows& oRows = m_oTables[a_strTable];
    if (a_uiIndex >= oRows.size())
    {
        return s_uiNoSuchRow;
    }
    oRows.erase(oRows.begin() + static_cast<Rows::difference_type>(a_uiIndex));
    return 0;
}

RowFile::Result RowFile::getdbaccess()
{
    m_bWriting = true;
    return 0;
}

RowFile::Result RowFile::commit()
{
    m_bWriting = false;
    const std::string strNew = m_strPath + ".new";
    std::ofstream oFile(strNew, std::ios::trunc);
    chmod(strNew.c_str(), 0600); // before the passwords are in it
    for (const auto& [strTable, oRows] : m_oTables)
    {
        for (const ValueList& oRow : oRows)
        {
            oFile << strTable;
            for (const auto& [strName, oValue] : oRow)
            {
                oFile << '\t' << strName << '=' << oneLine(oValue.getText());
            }
            oFile << '\n';
        }
    }
    oFile.close();
    const bool bWritten = oFile && std::rename(strNew.c_str(), m_strPath.c_str()) == 0;
    static_cast<void>(stat(m_strPath.c_str(), &m_oRead)); // the own change is no news
    return bWritten ? 0 : s_uiNotWritten;
}

ValueList*
RowFile::findRow(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strValue)
{
    for (ValueList& oRow : m_oTables[a_strTable])
    {
        if (oRow.getValue(a_strColumn).getText() == a_strValue)
        {
            return &oRow;
        }
    }
    return nullptr;
}
