#pragma once

#include <string>
#include <vector>

namespace netifwatch
{

/// Which interfaces are watched, by names or shell patterns ("wan*", "eth?").
class InterfaceFilter
{
public:
    /// Without patterns to include, every interface but the loopback is; what is excluded always goes out.
    InterfaceFilter(std::vector<std::string> a_oIncluded, std::vector<std::string> a_oExcluded);

    /// False also for a name that no row can hold (not UTF-8). Pure.
    [[nodiscard]] bool accepts(const std::string& a_strName) const;

private:
    std::vector<std::string> m_oIncluded;
    std::vector<std::string> m_oExcluded;
};

} // namespace netifwatch
