#include "cfgctl/strictjson.h"

#include "cfgctl/errors.h"
#include "cfgctl/text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiMostNames = 100; // of one object; a look-up is linear
constexpr std::size_t s_uiShown = 40;      // of a name

std::string describePosition(std::string_view a_strBytes, std::size_t a_uiOffset)
{
    const std::string_view strBefore = a_strBytes.substr(0, a_uiOffset);
    const std::size_t uiLineStart = strBefore.rfind('\n') == std::string_view::npos ? 0 : strBefore.rfind('\n') + 1;
    const auto iLine = std::count(strBefore.begin(), strBefore.end(), '\n') + 1;
    return "line " + std::to_string(iLine) + ", column " + std::to_string(strBefore.size() - uiLineStart + 1) + ": ";
}

/// Checks the whole file before a tree is made of it. A pass of its own, because a parser with a callback takes
/// quadratic time for a list.
class Guard : public nlohmann::json_sax<Json>
{
public:
    Guard(std::string_view a_strBytes, const JsonLimits& a_oLimits) : m_strBytes(a_strBytes), m_oLimits(a_oLimits) {}

    bool null() override { return addValue(); }
    bool boolean(bool) override { return addValue(); }
    bool number_integer(number_integer_t) override { return addValue(); }
    bool number_unsigned(number_unsigned_t) override { return addValue(); }
    bool number_float(number_float_t, const string_t&) override { return addValue(); }
    bool string(string_t&) override { return addValue(); }
    bool binary(binary_t&) override { return addValue(); }
    bool start_object(std::size_t) override { return open(); }
    bool start_array(std::size_t) override { return open(); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool key(string_t& a_strName) override
    {
        std::vector<std::string>& oNames = m_oOpen.back().m_oNames;
        const bool bNew = std::find(oNames.begin(), oNames.end(), a_strName) == oNames.end();
        oNames.push_back(a_strName);
        if (!bNew || oNames.size() > s_uiMostNames)
        {
            fail(bNew ? "too many names in one object" : "given twice");
        }
        return true;
    }
    /// The parser's own message quotes bytes of the file, which may be a password.
    bool parse_error(std::size_t a_uiPosition, const std::string&, const Json::exception&) override
    {
        throw Failure(describePosition(m_strBytes, std::max<std::size_t>(a_uiPosition, 1) - 1) + "not valid JSON");
    }

private:
    struct Level
    {
        std::vector<std::string> m_oNames; ///< of an object, the current one last
        std::size_t m_uiValues = 0;
    };

    [[noreturn]] void fail(const std::string& a_strFault) const { throw Failure(describePlace() + a_strFault); }
    bool open()
    {
        addValue();
        m_oOpen.emplace_back();
        if (m_oOpen.size() > m_oLimits.m_uiDepth)
        {
            fail("nested too deeply");
        }
        return true;
    }
    bool close()
    {
        m_oOpen.pop_back();
        return true;
    }
    bool addValue()
    {
        if (!m_oOpen.empty())
        {
            ++m_oOpen.back().m_uiValues;
        }
        if (++m_uiValues > m_oLimits.m_uiValues)
        {
            fail("more than " + std::to_string(m_oLimits.m_uiValues) + " values");
        }
        return true;
    }
    /// "DynDns, entry 2, Retry: "
    [[nodiscard]] std::string describePlace() const
    {
        std::string strPlace;
        for (const Level& oLevel : m_oOpen)
        {
            if (oLevel.m_oNames.empty() && oLevel.m_uiValues == 0)
            {
                break;
            }
            strPlace += strPlace.empty() ? "" : ", ";
            strPlace += oLevel.m_oNames.empty() ? "entry " + std::to_string(oLevel.m_uiValues)
                                                : cutToWidth(oLevel.m_oNames.back(), s_uiShown);
        }
        return strPlace + (strPlace.empty() ? "" : ": ");
    }

    const std::string_view m_strBytes;
    const JsonLimits& m_oLimits;
    std::vector<Level> m_oOpen;
    std::size_t m_uiValues = 0;
};

} // namespace

Json parseStrictJson(std::string_view a_strBytes, const JsonLimits& a_oLimits)
{
    require(a_strBytes.size() <= a_oLimits.m_uiBytes, "larger than " + std::to_string(a_oLimits.m_uiBytes) + " bytes");
    if (const std::size_t uiNul = a_strBytes.find('\0'); uiNul != std::string_view::npos)
    {
        throw Failure(describePosition(a_strBytes, uiNul) + "a NUL byte");
    }
    Guard oGuard(a_strBytes, a_oLimits);
    static_cast<void>(Json::sax_parse(a_strBytes, &oGuard)); // throws
    return Json::parse(a_strBytes);
}

} // namespace cfgctl
