#pragma once

#include <unistd.h>
#include <utility>

namespace platform
{

/// Owns one file descriptor; negative means none.
class UniqueFd
{
public:
    explicit UniqueFd(int a_iFd = -1) noexcept : m_iFd(a_iFd) {}
    UniqueFd(UniqueFd&& a_oOther) noexcept : m_iFd(a_oOther.release()) {}
    /// Closes what was owned here, after taking over the other one's.
    UniqueFd& operator=(UniqueFd&& a_oOther) noexcept
    {
        UniqueFd oOld(std::exchange(m_iFd, a_oOther.release()));
        return *this;
    }
    ~UniqueFd() { reset(); }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    [[nodiscard]] int get() const noexcept { return m_iFd; }
    [[nodiscard]] bool isOpen() const noexcept { return m_iFd >= 0; }
    /// Gives it up unclosed.
    int release() noexcept { return std::exchange(m_iFd, -1); }
    /// Closes it now; false, with errno set, when the system reports data that could not be written after all.
    bool reset() noexcept
    {
        const int iFd = release();
        return iFd < 0 || ::close(iFd) == 0;
    }

private:
    int m_iFd;
};

} // namespace platform
