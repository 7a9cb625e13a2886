#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <netdb.h>
#include <unordered_map>
#include <utility>

namespace quorvad
{

// How an answer gets from c-ares's handler to the waiting caller: process-wide, shared by all resolvers.

extern std::atomic<int> s_iNextRequestId;
extern std::mutex s_oMutex; ///< guards the two tables
/// Request id to (c-ares status, address list or null), filled by the handler, emptied by the caller.
extern std::unordered_map<int, std::pair<int, addrinfo*>> s_oResults;
/// Request id to the condition variable of the caller that waits for it.
extern std::unordered_map<int, std::condition_variable*> s_oWaiters;

} // namespace quorvad
