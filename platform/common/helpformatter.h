#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <sstream>
#include <string>

namespace platform
{

/// Help texts whose lists of options and commands fit a terminal of 80 columns: descriptions are wrapped at words. For
/// programs that link CLI11. To be set before commands are added, which inherit it.
class HelpFormatter : public CLI::Formatter
{
public:
    static constexpr std::size_t s_uiColumns = 80;

    std::string make_option(const CLI::Option* a_pOption, bool a_bPositional) const override
    {
        return wrap(CLI::Formatter::make_option(a_pOption, a_bPositional));
    }
    std::string make_subcommand(const CLI::App* a_pCommand) const override
    {
        return wrap(CLI::Formatter::make_subcommand(a_pCommand));
    }

private:
    [[nodiscard]] std::string wrap(const std::string& a_strText) const
    {
        std::istringstream oText(a_strText);
        std::string strResult;
        for (std::string strLine; std::getline(oText, strLine); strResult += strLine + "\n")
        {
            while (strLine.size() > s_uiColumns)
            {
                const std::size_t uiBlank = strLine.rfind(' ', s_uiColumns);
                if (uiBlank == std::string::npos || uiBlank <= column_width_)
                {
                    break; // one long word
                }
                strResult += strLine.substr(0, uiBlank) + "\n";
                strLine = std::string(column_width_, ' ') + strLine.substr(uiBlank + 1);
            }
        }
        return strResult;
    }
};

} // namespace platform
