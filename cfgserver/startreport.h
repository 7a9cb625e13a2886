#pragma once

#include "platform/base/uniquefd.h"

#include <string>

namespace cfgserver
{

/// Tells the process that was called what became of the detached one: a pipe, over which either readiness or the reason
/// of a failure is sent. An end without a word is a failure, too.
class StartReport
{
public:
    /// Throws std::system_error.
    StartReport();

    /// In the detached process: the only word, or the reason. Ignores a caller that is gone.
    void ready();
    void failed(const std::string& a_strReason);

    /// In the caller: waits until the detached process has told or ended. Returns the reason of a failure, empty when
    /// it is ready.
    [[nodiscard]] std::string await();

private:
    void send(const std::string& a_strText);

    platform::UniqueFd m_oReadEnd;
    platform::UniqueFd m_oWriteEnd;
};

} // namespace cfgserver
