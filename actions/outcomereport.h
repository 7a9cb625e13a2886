#pragma once

#include <string>

namespace quorvad
{

/// Queues the log row and the status row of one attempt for the main loop to write; both carry the same time. Called
/// from worker threads; never touches the database.
void reportOutcome(int a_iDynDnsId, bool a_bSuccess, int a_iResponseCode, const std::string& a_strResponse);

} // namespace quorvad
