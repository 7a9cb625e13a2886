#pragma once

namespace quorvad
{

/// The EAI_ code (negative) for a c-ares status of a look-up without addresses. ARES_SUCCESS, an answer without
/// addresses, is EAI_SYSTEM like every status without an entry of its own.
[[nodiscard]] int toGetaddrinfoCode(int a_iAresStatus);

} // namespace quorvad
