#include "cfgctl/table.h"

#include "cfgctl/utf8.h"
#include "platform/base/escape.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiGap = 2;

std::string paint(const std::string& a_strText, const char* a_pCode, const Layout& a_oLayout)
{
    return a_oLayout.m_bColours ? std::string("\x1b[") + a_pCode + "m" + a_strText + "\x1b[0m" : a_strText;
}

std::string paintCell(const Cell& a_oCell, const Layout& a_oLayout)
{
    switch (a_oCell.m_eStyle)
    {
    case Style::Good:
        return paint(a_oCell.m_strText, "32", a_oLayout);
    case Style::Bad:
        return paint(a_oCell.m_strText, "31", a_oLayout);
    case Style::Faint:
        return paint(a_oCell.m_strText, "2", a_oLayout);
    case Style::Plain:
        break;
    }
    return a_oCell.m_strText;
}

Table makePrintable(Table a_oTable)
{
    for (auto& oRow : a_oTable.m_oRows)
    {
        for (Cell& oCell : oRow)
        {
            oCell.m_strText = cutToWidth(platform::escape(oCell.m_strText), g_uiMaxCell);
        }
    }
    return a_oTable;
}

std::vector<std::size_t> measure(const Table& a_oTable)
{
    std::vector<std::size_t> oWidths;
    for (std::size_t uiColumn = 0; uiColumn < a_oTable.m_oHeadings.size(); ++uiColumn)
    {
        std::size_t uiWidth = displayWidth(a_oTable.m_oHeadings[uiColumn]);
        for (const auto& oRow : a_oTable.m_oRows)
        {
            uiWidth = std::max(uiWidth, displayWidth(oRow.at(uiColumn).m_strText));
        }
        oWidths.push_back(uiWidth);
    }
    return oWidths;
}

/// Appends a cell; the blanks that fill it up go in front of it or are owed until something follows.
void appendCell(
    std::string& a_strLine, std::size_t& a_uiOwed, const std::string& a_strPainted, std::size_t a_uiFill, bool a_bRight)
{
    const bool bEmpty = a_strPainted.empty();
    const std::size_t uiBefore = a_uiOwed + (a_bRight ? a_uiFill : 0);
    const std::size_t uiAfter = (a_bRight ? 0 : a_uiFill) + s_uiGap;
    if (bEmpty)
    {
        a_uiOwed = uiBefore + uiAfter;
        return;
    }
    a_strLine.append(uiBefore, ' ').append(a_strPainted);
    a_uiOwed = uiAfter;
}

std::string renderHeadings(const Table& a_oTable, const std::vector<std::size_t>& a_oWidths, const Layout& a_oLayout)
{
    std::string strLine;
    std::size_t uiOwed = 0;
    for (std::size_t uiColumn = 0; uiColumn < a_oWidths.size(); ++uiColumn)
    {
        const std::string& strHeading = a_oTable.m_oHeadings[uiColumn];
        const bool bRight = !a_oTable.m_oRows.empty() && a_oTable.m_oRows.front().at(uiColumn).m_bRight;
        const std::size_t uiFill = a_oWidths[uiColumn] - displayWidth(strHeading);
        appendCell(strLine, uiOwed, paint(strHeading, "1", a_oLayout), uiFill, bRight);
    }
    return strLine + "\n";
}

std::string
renderRow(const std::vector<Cell>& a_oRow, const std::vector<std::size_t>& a_oWidths, const Layout& a_oLayout)
{
    std::string strLine;
    std::size_t uiOwed = 0;
    for (std::size_t uiColumn = 0; uiColumn < a_oWidths.size(); ++uiColumn)
    {
        const Cell& oCell = a_oRow[uiColumn];
        const std::size_t uiFill = a_oWidths[uiColumn] - displayWidth(oCell.m_strText);
        const std::string strPainted = oCell.m_strText.empty() ? std::string() : paintCell(oCell, a_oLayout);
        appendCell(strLine, uiOwed, strPainted, uiFill, oCell.m_bRight);
    }
    return strLine + "\n";
}

std::string renderBlocks(const Table& a_oTable, const Layout& a_oLayout)
{
    std::size_t uiNameWidth = 0;
    for (const std::string& strHeading : a_oTable.m_oHeadings)
    {
        uiNameWidth = std::max(uiNameWidth, displayWidth(strHeading));
    }
    std::string strResult;
    for (const auto& oRow : a_oTable.m_oRows)
    {
        strResult += strResult.empty() ? "" : "\n";
        for (std::size_t uiColumn = 0; uiColumn < oRow.size(); ++uiColumn)
        {
            const std::string& strHeading = a_oTable.m_oHeadings[uiColumn];
            std::string strLine;
            std::size_t uiOwed = 0;
            const std::size_t uiFill = uiNameWidth - displayWidth(strHeading);
            appendCell(strLine, uiOwed, paint(strHeading, "1", a_oLayout), uiFill, false);
            const bool bEmpty = oRow[uiColumn].m_strText.empty();
            appendCell(strLine, uiOwed, bEmpty ? std::string() : paintCell(oRow[uiColumn], a_oLayout), 0, false);
            strResult += strLine + "\n";
        }
    }
    return strResult;
}

} // namespace

std::string renderTable(const Table& a_oTable, const Layout& a_oLayout)
{
    const Table oTable = makePrintable(a_oTable);
    const std::vector<std::size_t> oWidths = measure(oTable);
    const std::size_t uiTotal = std::accumulate(oWidths.begin(), oWidths.end(), s_uiGap * (oWidths.size() - 1));
    if (a_oLayout.m_uiWidth > 0 && uiTotal > a_oLayout.m_uiWidth && !oTable.m_oRows.empty())
    {
        return renderBlocks(oTable, a_oLayout);
    }
    std::string strResult = renderHeadings(oTable, oWidths, a_oLayout);
    for (const auto& oRow : oTable.m_oRows)
    {
        strResult += renderRow(oRow, oWidths, a_oLayout);
    }
    return strResult;
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
    winsize oSize{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &oSize) == 0)
    {
        oLayout.m_uiWidth = oSize.ws_col;
    }
    return oLayout;
}

} // namespace cfgctl
