#pragma once

#include "platform/wire/message.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace platform
{

/// What the log is told of the connection, one warning for each time without one, and the sentence that says why there
/// is none.
class LinkReport
{
public:
    explicit LinkReport(const std::string& a_strSocketPath);

    void connected(const std::string& a_strServiceVersion);
    /// The pause is the one before the next try; none when there will be no try.
    void lost(const char* a_pReason, std::optional<std::chrono::milliseconds> a_oPause);
    /// NoAccess: the service's user, which is the reason, is not trusted.
    void failedTry(wire::Result a_eResult, const char* a_pReason, std::chrono::milliseconds a_oPause);

    [[nodiscard]] const std::string& getFailure() const { return m_strFailure; }

private:
    [[nodiscard]] std::string describe(wire::Result a_eResult, const char* a_pReason) const;

    std::uint32_t m_iModuleId;
    std::string m_strSocketPath;
    std::string m_strFailure;
    bool m_bWarned = false; // of this time without connection
};

} // namespace platform
