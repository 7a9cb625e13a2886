#pragma once

#include <array>
#include <cstdint>
#include <optional>
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

/// The address in the usual form ("192.0.2.1", "2001:db8::1"); empty for neither family. Pure.
[[nodiscard]] std::string toText(const IpAddress& a_oAddress);

/// Of either family, without a zone or anything else around it. Pure.
[[nodiscard]] std::optional<IpAddress> parseAddress(const std::string& a_strText);

/// From the kernel's or a bus's bytes; nothing when the length does not fit the family. Pure.
[[nodiscard]] std::optional<IpAddress> makeAddress(int a_iFamily, const void* a_pBytes, std::size_t a_uiSize);

/// 127.0.0.0/8, ::1, and the same written as IPv4 in IPv6; also 0.0.0.0 and ::, which mean the machine itself. Pure.
[[nodiscard]] bool isOfThisMachine(const IpAddress& a_oAddress);

/// fe80::/10 or 169.254.0.0/16: valid on one link only. Pure.
[[nodiscard]] bool isLinkLocal(const IpAddress& a_oAddress);

// The address of an interface for its peers. Pure; an empty text if there is none.

/// The first primary address of global scope, in the kernel's order: the one that it uses by default. A deprecated one
/// only if there is no other.
[[nodiscard]] std::string chooseIPv4(const Interface& a_oInterface);

/// An address of global scope that is neither temporary, deprecated, tentative (or optimistic: another machine may
/// still claim it) nor failed. Native addresses come before those of a transition mechanism (6to4, Teredo), and both
/// before unique-local ones. Of several equally good ones a_strPresent is kept if it is among them, else the
/// numerically lowest is taken.
[[nodiscard]] std::string chooseIPv6(const Interface& a_oInterface, const std::string& a_strPresent);

} // namespace netifwatch
