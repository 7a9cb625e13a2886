#include "cfgctl/inputoutput.h"

#include "cfgctl/errors.h"
#include "cfgctl/table.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "platform/base/uniquefd.h"
#include "platform/common/file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiValueLimit = 64UL * 1024UL;

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

std::string readInput(const std::string& a_strPath, std::size_t a_uiLimit, platform::Input a_eInput)
{
    platform::FileContent oContent = a_strPath == "-" ? platform::readToEnd(STDIN_FILENO, a_uiLimit)
                                                      : platform::readFile(a_strPath, a_uiLimit, a_eInput);
    if (oContent.m_iError != 0)
    {
        throw Failure("Cannot read " + (a_strPath == "-" ? std::string("standard input") : "'" + a_strPath + "'") +
                      ": " + oContent.m_strFailure);
    }
    return std::move(oContent.m_strBytes);
}

} // namespace

std::string readFile(const std::string& a_strPath, std::size_t a_uiLimit)
{
    return readInput(a_strPath, a_uiLimit, platform::Input::Any);
}

std::string readValue(const std::string& a_strPath)
{
    std::string strValue = readInput(a_strPath, s_uiValueLimit, platform::Input::Awaited);
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
