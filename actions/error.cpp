#include "actions/error.h"

#include <array>
#include <cstddef>

namespace quorvad
{

namespace
{

constexpr std::array<const char*, 9> s_oTexts = {"Failed to load DNS servers from /etc/resolv.XXX.conf",
                                                 "curl_easy_init() failed",
                                                 "curl_easy_perform() failed",
                                                 "curl_easy_getinfo() failed",
                                                 "curl_global_init failed",
                                                 "Username is part of gnuDIP domain => domain must be longer",
                                                 "Ares lib init failed",
                                                 "Ares channel init failed",
                                                 "Empty list of DNS nameservers"};

} // namespace

Error::Error(Type a_eType) : std::runtime_error(""), m_eType(a_eType)
{
}

Error::~Error() = default;

const char* Error::what() const noexcept
{
    const auto uiIndex = static_cast<std::size_t>(m_eType); // a negative value becomes a huge one
    return uiIndex < s_oTexts.size() ? s_oTexts[uiIndex] : "unknown error";
}

} // namespace quorvad
