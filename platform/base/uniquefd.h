#pragma once

#include <unistd.h>

namespace platform
{

/// Owns one file descriptor; negative means none.
class UniqueFd
{
public:
    explicit UniqueFd(int a_iFd = -1) : m_iFd(a_iFd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    [[nodiscard]] int get() const { return m_iFd; }
    [[nodiscard]] bool isOpen() const { return m_iFd >= 0; }
    /// Gives it up unclosed.
    void release() { m_iFd = -1; }
    /// Takes over what another one owns; closes what was owned here.
    void take(UniqueFd& a_oOther)
    {
        reset();
        m_iFd = a_oOther.m_iFd;
        a_oOther.m_iFd = -1;
    }
    /// Closes it now; false, with errno set, when the system reports data that could not be written after all.
    bool reset()
    {
        const int iFd = m_iFd;
        m_iFd = -1;
        return iFd < 0 || ::close(iFd) == 0;
    }

private:
    int m_iFd;
};

} // namespace platform
