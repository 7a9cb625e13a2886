#pragma once

#include "actions/error.h"

#include <cstdint>
#include <string>

namespace quorvad
{

/// One dynamic DNS update, which may be attempted repeatedly. Built on the main thread and held by shared_ptr, then
/// used by a single worker thread, so the members need no lock.
class Action
{
public:
    Action();
    virtual ~Action();
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

    /// One complete attempt, from scratch; true when the provider accepted the update. Blocks for as long as the
    /// network takes (see the subclasses). May throw Error, which counts as a failed attempt.
    [[nodiscard]] virtual bool execute() = 0;

    /// The URL that an attempt requests; empty for protocols without one. It may hold credentials.
    [[nodiscard]] virtual std::string getUrl();

    std::uint32_t m_iModuleId;
};

} // namespace quorvad
