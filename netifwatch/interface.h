#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace netifwatch
{

/// An IPv4 or IPv6 address, in network order; of IPv4 the first four bytes count and the others are zero.
struct IpAddress
{
    int m_iFamily = 0; ///< AF_INET or AF_INET6
    std::array<std::uint8_t, 16> m_auiBytes = {};

    bool operator==(const IpAddress& a_oOther) const
    {
        return m_iFamily == a_oOther.m_iFamily && m_auiBytes == a_oOther.m_auiBytes;
    }
    bool operator!=(const IpAddress& a_oOther) const { return !(*this == a_oOther); }
};

/// An address as the kernel has it on an interface.
struct InterfaceAddress
{
    IpAddress m_oAddress;        ///< of a point-to-point link the local end
    std::uint8_t m_uiScope = 0;  ///< RT_SCOPE_*
    std::uint32_t m_uiFlags = 0; ///< IFA_F_*

    bool operator==(const InterfaceAddress& a_oOther) const
    {
        return m_oAddress == a_oOther.m_oAddress && m_uiScope == a_oOther.m_uiScope && m_uiFlags == a_oOther.m_uiFlags;
    }
};

struct Interface
{
    int m_iIndex = 0;
    std::string m_strName;
    bool m_bUp = false;                         ///< administratively up, with carrier
    std::vector<InterfaceAddress> m_oAddresses; ///< in the kernel's order

    bool operator==(const Interface& a_oOther) const
    {
        return m_iIndex == a_oOther.m_iIndex && m_strName == a_oOther.m_strName && m_bUp == a_oOther.m_bUp &&
               m_oAddresses == a_oOther.m_oAddresses;
    }
};

/// In the order of their index.
using Interfaces = std::vector<Interface>;

} // namespace netifwatch
