#pragma once

namespace vadro::error
{

/// While it lives, failed assertions are reported: on standard error, or through syslog once setSyslog(true) was
/// called. One instance, made and destroyed by the main thread while no other thread runs.
class DefaultAssertHook
{
public:
    DefaultAssertHook();
    ~DefaultAssertHook();
    DefaultAssertHook(const DefaultAssertHook&) = delete;
    DefaultAssertHook& operator=(const DefaultAssertHook&) = delete;

    void setSyslog(bool a_bSyslog);
};

} // namespace vadro::error
