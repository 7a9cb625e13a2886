#pragma once

#include <cstdint>

namespace quorvad
{

/// Process-wide start-up of c-ares and libcurl, and their clean-up. One instance, made and destroyed on the main
/// thread while no worker thread exists; it outlives every action and resolver.
class LibWrapper
{
public:
    /// Throws Error (AresLibInitFailed, CurlGlobalInitFailed).
    LibWrapper();
    ~LibWrapper();
    LibWrapper(const LibWrapper&) = delete;
    LibWrapper& operator=(const LibWrapper&) = delete;

    std::uint32_t m_iModuleId;
};

} // namespace quorvad
