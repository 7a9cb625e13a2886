#include "cfgctl/inputoutput.h"

#include "cfgctl/errors.h"
#include "cfgctl/table.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "platform/base/io.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiValueLimit = 64UL * 1024UL;

[[noreturn]] void failReading(const std::string& a_strPath, const std::string& a_strReason)
{
    throw Failure("Cannot read " + (a_strPath == "-" ? std::string("standard input") : "'" + a_strPath + "'") + ": " +
                  a_strReason);
}

[[noreturn]] void failWriting(const std::string& a_strPath, int a_iError)
{
    throw Failure("Cannot write '" + a_strPath + "': " + std::strerror(a_iError));
}

void dropLineEnd(std::string& a_strText)
{
    if (!a_strText.empty() && a_strText.back() == '\n')
    {
        a_strText.pop_back();
        if (!a_strText.empty() && a_strText.back() == '\r')
        {
            a_strText.pop_back();
        }
    }
}

void writeTo(platform::UniqueFd& a_oFile, const std::string& a_strPath, std::string_view a_strContent)
{
    const bool bWritten = a_oFile.isOpen() && platform::writeAll(a_oFile.get(), a_strContent) &&
                          (fsync(a_oFile.get()) == 0 || errno == EINVAL); // a pipe cannot be synchronised
    if (!bWritten || !a_oFile.reset())
    {
        failWriting(a_strPath, errno);
    }
}

bool isReplaceable(const std::string& a_strPath)
{
    struct stat oStat = {};
    return lstat(a_strPath.c_str(), &oStat) != 0 || S_ISREG(oStat.st_mode);
}

void replaceFile(const std::string& a_strPath, std::string_view a_strContent)
{
    std::string strTemporary = a_strPath + ".XXXXXX";
    platform::UniqueFd oFile(mkostemp(strTemporary.data(), O_CLOEXEC)); // mode 0600
    if (!oFile.isOpen())
    {
        failWriting(a_strPath, errno);
    }
    try
    {
        writeTo(oFile, a_strPath, a_strContent);
        if (rename(strTemporary.c_str(), a_strPath.c_str()) != 0)
        {
            failWriting(a_strPath, errno);
        }
    }
    catch (const Failure&)
    {
        unlink(strTemporary.c_str());
        throw;
    }
}

/// A line on standard error, wrapped where that is a terminal.
void writeMessage(std::string_view a_strBegin, std::string_view a_strText)
{
    const std::string strText = std::string(a_strBegin) + platform::escape(a_strText);
    static_cast<void>(platform::writeAll(STDERR_FILENO, wrapWords(strText, widthOf(STDERR_FILENO), 2) + "\n"));
}

/// @param a_iFlags how the file is opened; reading waits in any case
std::string readAll(const std::string& a_strPath, std::size_t a_uiLimit, int a_iFlags)
{
    const bool bOpen = a_strPath != "-";
    const platform::UniqueFd oFile(bOpen ? open(a_strPath.c_str(), O_RDONLY | O_CLOEXEC | a_iFlags) : -1);
    if (bOpen && !oFile.isOpen())
    {
        failReading(a_strPath, std::strerror(errno));
    }
    const int iFd = bOpen ? oFile.get() : STDIN_FILENO;
    if (bOpen && a_iFlags != 0)
    {
        static_cast<void>(fcntl(iFd, F_SETFL, 0));
    }
    std::string strContent;
    std::array<char, 16384> oBuffer{};
    ssize_t iRead = 0;
    while ((iRead = platform::readOnce(iFd, oBuffer.data(), oBuffer.size())) > 0)
    {
        strContent.append(oBuffer.data(), static_cast<std::size_t>(iRead));
        if (strContent.size() > a_uiLimit)
        {
            failReading(a_strPath, "it is larger than " + std::to_string(a_uiLimit) + " bytes");
        }
    }
    if (iRead < 0)
    {
        failReading(a_strPath, std::strerror(errno));
    }
    return strContent;
}

} // namespace

std::string readFile(const std::string& a_strPath, std::size_t a_uiLimit)
{
    return readAll(a_strPath, a_uiLimit, O_NONBLOCK);
}

std::string readValue(const std::string& a_strPath)
{
    std::string strValue = readAll(a_strPath, s_uiValueLimit, 0);
    dropLineEnd(strValue);
    return strValue;
}

void writeFile(const std::string& a_strPath, std::string_view a_strContent)
{
    if (isReplaceable(a_strPath))
    {
        return replaceFile(a_strPath, a_strContent);
    }
    platform::UniqueFd oFile(open(a_strPath.c_str(), O_WRONLY | O_CLOEXEC | O_TRUNC));
    writeTo(oFile, a_strPath, a_strContent);
}

void writeOut(std::string_view a_strText)
{
    if (!platform::writeAll(STDOUT_FILENO, a_strText))
    {
        throw Failure(std::string("Cannot write to standard output: ") + std::strerror(errno));
    }
}

void complain(std::string_view a_strText) noexcept
{
    try
    {
        writeMessage("cfgctl: ", a_strText);
    }
    catch (const std::exception&) // no memory for the text; the exit status remains
    {
        static_cast<void>(platform::writeAll(STDERR_FILENO, "cfgctl: out of memory\n"));
    }
}

void warn(std::string_view a_strText) noexcept
{
    try
    {
        writeMessage("warning: ", a_strText);
    }
    catch (const std::exception&) // no memory for the text
    {
    }
}

} // namespace cfgctl
