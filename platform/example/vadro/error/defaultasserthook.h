#pragma once

namespace vadro::error
{

/// This kit reports no assertion by itself; the daemon logs what the exception says.
class DefaultAssertHook
{
public:
    DefaultAssertHook() {} // NOLINT(modernize-use-equals-default): else a variable that nobody uses is warned about
    void setSyslog(bool /*a_bSyslog*/) {}
};

} // namespace vadro::error
