#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cfgctl
{

/// How a cell is coloured. The order counts: the codes of table.cpp are in it.
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
    std::string m_strText; ///< as received; control bytes are escaped when printed
    Style m_eStyle = Style::Plain;
    bool m_bRight = false;    ///< numbers
    std::string m_strBrief{}; ///< stands for a text that has to be cut; empty: as much of the text as fits
};

/// What is left of a cell that is cut to make its table fit.
constexpr std::size_t g_uiLeastCell = 12;

/// A column whose cells may be cut to make the table fit.
struct Shrinking
{
    // NOLINTNEXTLINE(google-explicit-constructor) ; mostly it is just the column
    Shrinking(std::size_t a_uiColumn, std::size_t a_uiLeast = g_uiLeastCell)
        : m_uiColumn(a_uiColumn), m_uiLeast(a_uiLeast)
    {
    }

    std::size_t m_uiColumn;
    std::size_t m_uiLeast; ///< columns that are left, but brief texts stay whole
};

struct Table
{
    std::vector<std::string> m_oHeadings;
    std::vector<std::vector<Cell>> m_oRows; ///< each as long as the headings
    std::vector<Shrinking> m_oShrinking{};  ///< the first one gives way first
};

/// How to print a table.
struct Layout
{
    bool m_bColours = false;
    std::size_t m_uiWidth = 0; ///< columns of the terminal; 0: no limit
};

/// The widest cell, in columns; longer texts are cut in tables, never in JSON. The last column is whole where the
/// layout has no limit.
constexpr std::size_t g_uiMaxCell = 100;

/// A heading line and one line per row, columns two blanks apart, no trailing blanks. If that is too wide for the
/// layout, even with the shrinking columns cut, each row becomes a block of "column  value" lines. Pure.
[[nodiscard]] std::string renderTable(const Table& a_oTable, const Layout& a_oLayout);

/// The columns of the terminal behind a descriptor; 0 if it is none.
[[nodiscard]] std::size_t widthOf(int a_iDescriptor);

/// The layout for standard output: colours and a width on a terminal only; no colours if NO_COLOR is set and not empty
/// or the terminal is "dumb".
[[nodiscard]] Layout layoutOfStandardOutput();

} // namespace cfgctl
