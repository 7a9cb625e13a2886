#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace cfgserver
{

/// Whether an open database file is still where it was opened. SQLite keeps its files open and would go on writing to
/// ones that were deleted or moved away, which the next start does not find. One thread.
class DatabasePlace
{
public:
    enum class State
    {
        InPlace,
        Gone,     ///< the file or its log is not there, and nothing else
        Taken,    ///< another file stands in the place of one of them
        OtherDisk ///< gone, and so is the file system that the folder was on
    };

    /// Of the file that was just opened, which nobody else touches meanwhile; ":memory:" is always in place.
    explicit DatabasePlace(const std::string& a_strPath);

    /// Costs two looks at the file system.
    [[nodiscard]] State look() const noexcept;

    /// Removes the log if it is still ours but the file is not: SQLite would carry it over into any file of that name.
    void removeOurLog() const noexcept;

    /// Puts a complete database without a log in the place of one that is gone, so that after a loss of power either
    /// is there. Throws std::runtime_error if that fails, also because another file was faster.
    void put(const std::string& a_strNewFile);

private:
    struct Identity
    {
        dev_t m_uiDevice;
        ino_t m_uiInode;
    };
    [[nodiscard]] static std::optional<Identity> identify(const std::string& a_strFile) noexcept;
    /// Both there, and not the same.
    [[nodiscard]] static bool isOther(const std::optional<Identity>& a_oOurs, const std::optional<Identity>& a_oFound);

    std::string m_strFile; // empty: in memory
    std::string m_strLog;
    std::string m_strFolder;
    std::optional<Identity> m_oFile;
    std::optional<Identity> m_oLog;
    std::optional<Identity> m_oFolder;
};

} // namespace cfgserver
