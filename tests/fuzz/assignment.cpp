// An argument COLUMN=VALUE, against a column of each type.
#include "cfgctl/assignment.h"
#include "tests/fuzz/fuzz.h"

#include <stdexcept>

void fuzz(std::string_view a_strInput)
{
    korrin::ValueList oColumns;
    oColumns.add("Id", korrin::Value(korrin::eValueInteger, 0));
    oColumns.add("Hostname", korrin::Value(korrin::eValueText, ""));
    try
    {
        const cfgctl::Assignment oGiven = cfgctl::parseAssignment(a_strInput);
        require(oGiven.m_strColumn + (oGiven.m_bFromFile ? "@=" : "=") + oGiven.m_strValue == a_strInput);
        const auto oValue = cfgctl::parseValue("DynDns", oColumns, oGiven.m_strColumn, oGiven.m_strValue);
        require(oValue.getType() == oColumns.getValue(oGiven.m_strColumn).getType());
        require(oValue.getType() == korrin::eValueInteger || oValue.getText() == oGiven.m_strValue);
    }
    catch (const std::runtime_error&) // UsageError, Failure
    {
    }
}
