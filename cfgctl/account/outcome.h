#pragma once

#include "korrin/valuelist.h"

namespace cfgctl
{

/// Whether a DynDnsLog row tells of a success: GnuDIP code 0; HTTPS the expected text in the answer or, where nothing
/// is expected, status 200. The table itself doesn't say; the account's present settings judge old rows, and only the
/// stored 200 bytes of an answer are looked at. Pure.
[[nodiscard]] bool isSuccess(const korrin::ValueList& a_oAccount, const korrin::ValueList& a_oLogRow);

} // namespace cfgctl
