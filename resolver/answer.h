#pragma once

#include <netdb.h>

namespace quorvad
{

/// Converts c-ares's answer into the list that getaddrinfo would return, in the same order: one entry per address, port
/// 0. Each entry and its address are one block from malloc, so that freeaddrinfo releases the list.
///
/// Returns ARES_SUCCESS, or ARES_ENOMEM, or ARES_EBADFAMILY for addresses that are neither IPv4 nor IPv6; then, and for
/// an answer without addresses, a_pList is null.
[[nodiscard]] int makeAddressList(const hostent& a_oHost, addrinfo*& a_pList);

/// The EAI_ code (negative) for the c-ares status of a look-up without addresses. ARES_SUCCESS, an answer without
/// addresses, gives EAI_SYSTEM like every status without its own code.
[[nodiscard]] int toGetaddrinfoCode(int a_iAresStatus);

} // namespace quorvad
