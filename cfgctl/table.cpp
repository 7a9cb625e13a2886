#include "cfgctl/table.h"

#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "vadro/string/replace.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <numeric>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiGap = 2;
/// The terminal's code of each Style, in the order of the enumeration.
constexpr std::array s_apColours{"", "32", "31", "2", "1"};
static_assert(s_apColours.size() == static_cast<std::size_t>(Style::Heading) + 1);

using Cells = std::vector<Cell>;

std::string paint(const Cell& a_oCell, const Layout& a_oLayout)
{
    const std::string strColour = s_apColours.at(static_cast<std::size_t>(a_oCell.m_eStyle));
    return a_oLayout.m_bColours && !strColour.empty() ? "\x1b[" + strColour + "m" + a_oCell.m_strText + "\x1b[0m"
                                                      : a_oCell.m_strText;
}

/// The headings as they are, and the rows with their cells escaped and cut.
std::vector<Cells> makeLines(const Table& a_oTable, const Layout& a_oLayout)
{
    std::vector<Cells> oLines(1);
    for (const std::string& strHeading : a_oTable.m_oHeadings)
    {
        const bool bRight = !a_oTable.m_oRows.empty() && a_oTable.m_oRows.front().at(oLines.front().size()).m_bRight;
        oLines.front().push_back({strHeading, Style::Heading, bRight});
    }
    for (Cells oRow : a_oTable.m_oRows)
    {
        for (Cell& oCell : oRow)
        {
            const bool bWhole = a_oLayout.m_uiWidth == 0 && &oCell == &oRow.back();
            oCell.m_strText = platform::escape(oCell.m_strText);
            oCell.m_strText = bWhole ? oCell.m_strText : cutToWidth(oCell.m_strText, g_uiMaxCell);
        }
        oLines.push_back(std::move(oRow));
    }
    return oLines;
}

std::vector<std::size_t> measure(const std::vector<Cells>& a_oLines)
{
    std::vector<std::size_t> oWidths(a_oLines.front().size());
    for (const Cells& oLine : a_oLines)
    {
        for (std::size_t uiColumn = 0; uiColumn < oWidths.size(); ++uiColumn)
        {
            oWidths[uiColumn] = std::max(oWidths[uiColumn], displayWidth(oLine.at(uiColumn).m_strText));
        }
    }
    return oWidths;
}

std::size_t totalOf(const std::vector<std::size_t>& a_oWidths)
{
    return std::accumulate(a_oWidths.begin(), a_oWidths.end(), s_uiGap * (a_oWidths.size() - 1));
}

std::size_t leastWidth(const Table& a_oTable, const Shrinking& a_oShrinking)
{
    std::size_t uiBrief = 0;
    for (const Cells& oRow : a_oTable.m_oRows)
    {
        uiBrief = std::max(uiBrief, displayWidth(platform::escape(oRow.at(a_oShrinking.m_uiColumn).m_strBrief)));
    }
    return uiBrief == 0 ? a_oShrinking.m_uiLeast
                        : std::max(uiBrief, displayWidth(a_oTable.m_oHeadings.at(a_oShrinking.m_uiColumn)));
}

void cutColumn(std::vector<Cells>& a_oLines, std::size_t a_uiColumn, std::size_t a_uiWidth)
{
    for (Cells& oLine : a_oLines)
    {
        Cell& oCell = oLine.at(a_uiColumn);
        if (displayWidth(oCell.m_strText) > a_uiWidth)
        {
            const std::string strText = oCell.m_strBrief.empty() ? oCell.m_strText : platform::escape(oCell.m_strBrief);
            oCell.m_strText = cutToWidth(strText, a_uiWidth);
        }
    }
}

/// Cuts the shrinking columns as far as the layout asks for; false, and nothing cut, if the table does not fit then.
bool shrink(std::vector<Cells>& a_oLines, const Table& a_oTable, const Layout& a_oLayout)
{
    std::vector<Cells> oLines = a_oLines;
    std::vector<std::size_t> oWidths = measure(oLines);
    for (const Shrinking& oShrinking : a_oTable.m_oShrinking)
    {
        const std::size_t uiColumn = oShrinking.m_uiColumn;
        const std::size_t uiTotal = totalOf(oWidths);
        const std::size_t uiExcess = uiTotal - std::min(uiTotal, a_oLayout.m_uiWidth);
        const std::size_t uiSpare = oWidths[uiColumn] - std::min(oWidths[uiColumn], leastWidth(a_oTable, oShrinking));
        cutColumn(oLines, uiColumn, oWidths[uiColumn] - std::min(uiExcess, uiSpare));
        oWidths = measure(oLines);
    }
    const bool bFits = totalOf(oWidths) <= a_oLayout.m_uiWidth;
    if (bFits)
    {
        a_oLines.swap(oLines);
    }
    return bFits;
}

std::string renderLine(const Cells& a_oLine, const std::vector<std::size_t>& a_oWidths, const Layout& a_oLayout)
{
    std::string strLine;
    std::size_t uiOwed = 0; // blanks, until something follows
    for (std::size_t uiColumn = 0; uiColumn < a_oWidths.size(); ++uiColumn)
    {
        const Cell& oCell = a_oLine[uiColumn];
        const std::size_t uiFill = a_oWidths[uiColumn] - displayWidth(oCell.m_strText);
        uiOwed += oCell.m_bRight ? uiFill : 0;
        if (!oCell.m_strText.empty())
        {
            strLine.append(uiOwed, ' ').append(paint(oCell, a_oLayout));
            uiOwed = 0;
        }
        uiOwed += (oCell.m_bRight ? 0 : uiFill) + s_uiGap;
    }
    return strLine + "\n";
}

/// The text in lines that begin behind so many columns; in one line if there is no room to speak of.
std::string wrapBehind(std::size_t a_uiIndent, const std::string& a_strText, const Layout& a_oLayout)
{
    if (a_oLayout.m_uiWidth < a_uiIndent + g_uiLeastCell)
    {
        return a_strText;
    }
    return vadro::string::replaceAllOccurrences(
        wrapWords(a_strText, a_oLayout.m_uiWidth - a_uiIndent), "\n", "\n" + std::string(a_uiIndent, ' '));
}

std::string renderBlocks(const std::vector<Cells>& a_oLines, const Layout& a_oLayout)
{
    const Cells& oHeadings = a_oLines.front();
    std::size_t uiNameWidth = 0;
    for (const Cell& oHeading : oHeadings)
    {
        uiNameWidth = std::max(uiNameWidth, displayWidth(oHeading.m_strText));
    }
    std::string strResult;
    for (std::size_t uiLine = 1; uiLine < a_oLines.size(); ++uiLine)
    {
        strResult += strResult.empty() ? "" : "\n";
        for (std::size_t uiColumn = 0; uiColumn < oHeadings.size(); ++uiColumn)
        {
            const Cell oName{oHeadings[uiColumn].m_strText, Style::Heading};
            Cell oValue = a_oLines[uiLine][uiColumn];
            oValue.m_strText = wrapBehind(uiNameWidth + s_uiGap, oValue.m_strText, a_oLayout);
            strResult += renderLine({oName, oValue}, {uiNameWidth, displayWidth(oValue.m_strText)}, a_oLayout);
        }
    }
    return strResult;
}

} // namespace

std::string renderTable(const Table& a_oTable, const Layout& a_oLayout)
{
    std::vector<Cells> oLines = makeLines(a_oTable, a_oLayout);
    if (a_oLayout.m_uiWidth > 0 && oLines.size() > 1 && !shrink(oLines, a_oTable, a_oLayout))
    {
        return renderBlocks(oLines, a_oLayout);
    }
    const std::vector<std::size_t> oWidths = measure(oLines);
    std::string strResult;
    for (const Cells& oLine : oLines)
    {
        strResult += renderLine(oLine, oWidths, a_oLayout);
    }
    return strResult;
}

std::size_t widthOf(int a_iDescriptor)
{
    winsize oSize{};
    return isatty(a_iDescriptor) != 0 && ioctl(a_iDescriptor, TIOCGWINSZ, &oSize) == 0 ? oSize.ws_col : 0;
}

Layout layoutOfStandardOutput()
{
    Layout oLayout;
    if (isatty(STDOUT_FILENO) == 0)
    {
        return oLayout;
    }
    const char* pNoColour = std::getenv("NO_COLOR");
    const char* pTerminal = std::getenv("TERM");
    const bool bDumb = pTerminal == nullptr || std::string_view(pTerminal) == "dumb";
    oLayout.m_bColours = !bDumb && (pNoColour == nullptr || *pNoColour == '\0');
    oLayout.m_uiWidth = widthOf(STDOUT_FILENO);
    return oLayout;
}

} // namespace cfgctl
