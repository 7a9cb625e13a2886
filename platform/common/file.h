#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <sys/types.h>

// Files that are read by path. Any thread; nothing is kept open.
namespace platform
{

/// What a path may lead to.
enum class Input
{
    Regular, ///< a regular file, nothing else: neither a named pipe nor a device keeps a program that runs unattended
    Any,     ///< pipes and devices as well, until they end; a named pipe that nobody writes to is empty
    Awaited  ///< the same, but waits until somebody writes to a named pipe
};

/// A file's content, or why there is none.
struct FileContent
{
    std::string m_strBytes;   ///< of a file that is too large, the first ones
    std::string m_strFailure; ///< empty if all went well; ends a sentence: "it is not a regular file"
    int m_iError = 0;         ///< the same as a number of errno: EINVAL if not a regular file, EFBIG if too large

    /// There is no such file.
    [[nodiscard]] bool isAbsent() const;
};

/// Reads a whole file of at most a_uiLimit bytes. Blocks for anything but a regular file as long as the other end does.
[[nodiscard]] FileContent
readFile(const std::string& a_strPath, std::size_t a_uiLimit, Input a_eInput = Input::Regular);

/// The same from an open descriptor, until its end.
[[nodiscard]] FileContent readToEnd(int a_iFd, std::size_t a_uiLimit);

/// Opens a regular file for reading, without waiting for anybody; the caller closes it. Negative, and errno, if that
/// fails: EINVAL if it is something else.
/// @param a_iFlags for open(2), besides those for reading
[[nodiscard]] int openRegular(int a_iDirFd, const std::string& a_strName, int a_iFlags = 0);

/// What differs once a file was changed or replaced; all zero for one that cannot be seen.
struct FileStamp
{
    dev_t m_uiDevice = 0;
    ino_t m_uiNumber = 0;
    off_t m_iSize = 0;
    timespec m_oWritten = {};
    timespec m_oChanged = {}; ///< also by another mode, name or time of writing

    bool operator==(const FileStamp& a_oOther) const noexcept;
};

/// Follows links. Does not block but for the file system.
[[nodiscard]] FileStamp stampOf(const char* a_pPath) noexcept;

} // namespace platform
