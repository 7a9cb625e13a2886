#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cfgctl
{

enum class Style
{
    Plain,
    Good,
    Bad,
    Faint,
    Heading
};

struct Cell
{
    std::string m_strText; ///< as it came; the renderer makes control bytes visible
    Style m_eStyle = Style::Plain;
    bool m_bRight = false; ///< numbers
};

struct Table
{
    std::vector<std::string> m_oHeadings;
    std::vector<std::vector<Cell>> m_oRows; ///< each as long as the headings
};

/// How the place of output wants a table.
struct Layout
{
    bool m_bColours = false;
    std::size_t m_uiWidth = 0; ///< columns of the terminal; 0: no limit
};

/// Longest cell that is shown whole in a table, in columns; --json shows everything.
constexpr std::size_t g_uiMaxCell = 100;

/// A heading line and one line per row, columns two blanks apart, nothing behind a line's last column. Where that is
/// wider than the layout allows, each row becomes a block of "column  value" lines instead. Pure.
[[nodiscard]] std::string renderTable(const Table& a_oTable, const Layout& a_oLayout);

/// The layout for standard output: colours and a width on a terminal only, and no colours where the environment has a
/// NO_COLOR that is not empty or the terminal is "dumb".
[[nodiscard]] Layout layoutOfStandardOutput();

} // namespace cfgctl
