#include "cfgctl/outputfile.h"

#include "cfgctl/errors.h"
#include "cfgctl/output.h"
#include "platform/base/uniquefd.h"

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

[[noreturn]] void fail(const std::string& a_strPath, int a_iError)
{
    throw Failure("Can't write '" + a_strPath + "': " + std::strerror(a_iError));
}

void writeTo(platform::UniqueFd& a_oFile, const std::string& a_strPath, std::string_view a_strContent)
{
    const bool bWritten = a_oFile.isOpen() && writeAll(a_oFile.get(), a_strContent) &&
                          (fsync(a_oFile.get()) == 0 || errno == EINVAL); // a pipe can't be synchronised
    if (!bWritten || !a_oFile.reset())
    {
        fail(a_strPath, errno);
    }
}

bool isReplaceable(const std::string& a_strPath)
{
    struct stat oStat = {};
    return lstat(a_strPath.c_str(), &oStat) != 0 || S_ISREG(oStat.st_mode);
}

} // namespace

void writeFile(const std::string& a_strPath, std::string_view a_strContent)
{
    if (!isReplaceable(a_strPath))
    {
        platform::UniqueFd oFile(open(a_strPath.c_str(), O_WRONLY | O_CLOEXEC | O_TRUNC));
        writeTo(oFile, a_strPath, a_strContent);
        return;
    }
    std::string strTemporary = a_strPath + ".XXXXXX";
    platform::UniqueFd oFile(mkostemp(strTemporary.data(), O_CLOEXEC)); // mode 0600
    if (!oFile.isOpen())
    {
        fail(a_strPath, errno);
    }
    try
    {
        writeTo(oFile, a_strPath, a_strContent);
        if (rename(strTemporary.c_str(), a_strPath.c_str()) != 0)
        {
            fail(a_strPath, errno);
        }
    }
    catch (const Failure&)
    {
        unlink(strTemporary.c_str());
        throw;
    }
}

} // namespace cfgctl
