#include "cfgctl/output.h"

#include "cfgctl/errors.h"
#include "platform/base/escape.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

namespace cfgctl
{

bool writeAll(int a_iFd, std::string_view a_strText) noexcept
{
    while (!a_strText.empty())
    {
        const ssize_t iWritten = write(a_iFd, a_strText.data(), a_strText.size());
        if (iWritten < 0 && errno != EINTR)
        {
            return false;
        }
        a_strText.remove_prefix(iWritten > 0 ? static_cast<std::size_t>(iWritten) : 0);
    }
    return true;
}

void writeOut(std::string_view a_strText)
{
    if (!writeAll(STDOUT_FILENO, a_strText))
    {
        throw Failure(std::string("Can't write to standard output: ") + std::strerror(errno));
    }
}

void complain(std::string_view a_strText) noexcept
{
    try
    {
        static_cast<void>(writeAll(STDERR_FILENO, "cfgctl: " + platform::escape(a_strText) + "\n"));
    }
    catch (const std::exception&) // no memory for the text; the exit status still tells
    {
        static_cast<void>(writeAll(STDERR_FILENO, "cfgctl: out of memory\n"));
    }
}

} // namespace cfgctl
