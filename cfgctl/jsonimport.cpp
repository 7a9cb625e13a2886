#include "cfgctl/jsonimport.h"

#include "cfgctl/errors.h"
#include "cfgctl/importreader.h"

#include <algorithm>
#include <iterator>

namespace cfgctl
{

namespace
{

/// Reads the bytes for the parser and keeps count of how far it came, which its events don't tell.
class CountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* a_pPosition, const char** a_ppReached)
        : m_pPosition(a_pPosition), m_ppReached(a_ppReached)
    {
    }
    reference operator*() const { return *m_pPosition; }
    CountingIterator& operator++()
    {
        *m_ppReached = ++m_pPosition;
        return *this;
    }
    bool operator==(const CountingIterator& a_oOther) const { return m_pPosition == a_oOther.m_pPosition; }
    bool operator!=(const CountingIterator& a_oOther) const { return m_pPosition != a_oOther.m_pPosition; }

private:
    const char* m_pPosition;
    const char** m_ppReached;
};

std::string describePosition(std::string_view a_strBytes, std::size_t a_uiOffset)
{
    const std::string_view strBefore = a_strBytes.substr(0, a_uiOffset == 0 ? 0 : a_uiOffset - 1);
    const std::size_t uiLineStart = strBefore.rfind('\n') == std::string_view::npos ? 0 : strBefore.rfind('\n') + 1;
    const auto iLine = std::count(strBefore.begin(), strBefore.end(), '\n') + 1;
    return "line " + std::to_string(iLine) + ", column " + std::to_string(strBefore.size() - uiLineStart + 1) + ": ";
}

} // namespace

std::vector<ImportedTable> parseImport(std::string_view a_strBytes, const Schema& a_oSchema)
{
    if (a_strBytes.size() > g_uiImportBytes)
    {
        throw Failure("the file is larger than " + std::to_string(g_uiImportBytes) + " bytes");
    }
    if (const std::size_t uiNul = a_strBytes.find('\0'); uiNul != std::string_view::npos)
    {
        throw Failure(describePosition(a_strBytes, uiNul + 1) + "a NUL byte"); // the parser would take it for the end
    }
    std::vector<ImportedTable> oTables;
    ImportReader oReader(a_oSchema, oTables);
    const char* pReached = a_strBytes.data();
    const CountingIterator oFirst(a_strBytes.data(), &pReached);
    const CountingIterator oLast(a_strBytes.data() + a_strBytes.size(), &pReached);
    if (!nlohmann::json::sax_parse(oFirst, oLast, &oReader))
    {
        auto uiOffset = static_cast<std::size_t>(pReached - a_strBytes.data());
        uiOffset -= oReader.readsBeyond() && uiOffset > 0 ? 1 : 0;
        throw Failure(describePosition(a_strBytes, uiOffset) + oReader.getReason());
    }
    return oTables;
}

} // namespace cfgctl
