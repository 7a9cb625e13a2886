#pragma once

#include "platform/base/uniquefd.h"

#include <string>

namespace platform
{

/// An exclusively locked file, mode 0600, that exists only while a process holds it. The kernel releases the lock when
/// the process ends. Files of other users are not trusted; root moves them aside, and
/// so does the owner of a sticky folder.
class LockFile
{
public:
    /// Waits at most a_iLimitMs for another holder. Throws std::bad_alloc only.
    LockFile(const std::string& a_strFile, int a_iLimitMs);
    /// Removes the file while the lock is held; a process that has it open sees that it was removed.
    ~LockFile();
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

    [[nodiscard]] bool isHeld() const { return m_strFailure.empty(); }
    /// Names the file and why the lock is not held; empty when it is.
    [[nodiscard]] const std::string& getFailure() const { return m_strFailure; }

private:
    enum class Outcome
    {
        Held,
        Busy,   ///< somebody else has it
        Again,  ///< the file changed meanwhile
        Refused ///< m_strFailure says why
    };

    [[nodiscard]] Outcome tryOnce();
    Outcome refuse(const std::string& a_strReason);
    /// For what cannot be opened (a_iError says why) or is not ours.
    Outcome replaceForeign(int a_iError);

    std::string m_strFile;
    UniqueFd m_oFile;
    std::string m_strFailure;
};

} // namespace platform
