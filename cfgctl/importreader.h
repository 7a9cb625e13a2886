#pragma once

#include "cfgctl/jsonimport.h"

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace cfgctl
{

/// Follows the parser through the three levels of the file and refuses the first thing that doesn't belong there; no
/// tree of the input is built. Borrows schema and tables; after a refusal the tables are of no use.
class ImportReader : public nlohmann::json_sax<nlohmann::json>
{
public:
    ImportReader(const Schema& a_oSchema, std::vector<ImportedTable>& a_oTables)
        : m_oSchema(a_oSchema), m_oTables(a_oTables)
    {
    }

    bool null() override { return fail("null is no value; leave the column out for its default"); }
    bool boolean(bool) override { return fail("true and false are no values; write 1 or 0"); }
    bool number_float(number_float_t, const string_t&) override;
    bool binary(binary_t&) override { return fail("binary data is no value"); }
    bool number_integer(number_integer_t a_iValue) override { return addInteger(a_iValue); }
    bool number_unsigned(number_unsigned_t a_uiValue) override;
    bool string(string_t& a_strValue) override { return addText(a_strValue); }
    bool start_object(std::size_t) override;
    bool key(string_t& a_strName) override;
    bool end_object() override;
    bool start_array(std::size_t) override;
    bool end_array() override;
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& a_oError) override;

    [[nodiscard]] const std::string& getReason() const { return m_strReason; }
    /// The parser reads one byte beyond a number before it reports it.
    [[nodiscard]] bool readsBeyond() const { return m_bNumber; }

private:
    enum class Level
    {
        Start,
        Tables,
        Rows,
        Columns
    };

    bool fail(const std::string& a_strReason);
    bool wantsValue(unsigned a_uiType);
    bool addInteger(long long a_iValue);
    bool addText(const std::string& a_strValue);
    bool startTable(const std::string& a_strName);
    bool startColumn(const std::string& a_strName);
    [[nodiscard]] const korrin::ValueList& getColumns() const { return m_oSchema.at(m_oTables.back().m_strTable); }

    const Schema& m_oSchema;
    std::vector<ImportedTable>& m_oTables;
    std::set<int> m_oIds;
    std::string m_strColumn;
    std::string m_strReason;
    std::size_t m_uiRows = 0;
    Level m_eLevel = Level::Start;
    bool m_bNumber = false;
};

} // namespace cfgctl
