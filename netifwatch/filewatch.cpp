#include "netifwatch/filewatch.h"

#include "platform/base/io.h"

#include <array>
#include <filesystem>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <system_error>
#include <utility>

namespace netifwatch
{

namespace
{

constexpr int s_iMaxLinks = 8;
constexpr std::uint32_t s_uiFolderEvents =
    IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE | IN_ONLYDIR;
constexpr std::uint32_t s_uiFileEvents =
    IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF | IN_DONT_FOLLOW;

} // namespace

FileWatch::FileWatch(platform::EventLoop& a_oLoop, std::vector<std::string> a_oPaths, std::function<void()> a_oHint)
    : m_oLoop(a_oLoop), m_oPaths(std::move(a_oPaths)), m_oHint(std::move(a_oHint)),
      m_oInotify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
{
    if (!m_oInotify.isOpen())
    {
        throw std::system_error(
            errno,
            std::generic_category(),
            "cannot watch resolv.conf for changes (raise fs.inotify.max_user_instances or the limit on "
            "open files, or use --no-dns)");
    }
    watchAll();
    m_oLoop.add(m_oInotify.get(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

FileWatch::~FileWatch()
{
    m_oLoop.remove(m_oInotify.get());
}

void FileWatch::watchAll()
{
    std::set<int> oWatches;
    std::set<std::string> oNames; // without memory, what was watched before must stay
    for (const std::string& strPath : m_oPaths)
    {
        watchPath(strPath, oWatches, oNames);
    }
    for (const int iWatch : m_oWatches)
    {
        if (oWatches.count(iWatch) == 0)
        {
            inotify_rm_watch(m_oInotify.get(), iWatch);
        }
    }
    m_oWatches = std::move(oWatches);
    m_oNames = std::move(oNames);
}

/// Every link on the way, the file itself and the folder of each; for a missing folder the nearest one above it.
void FileWatch::watchPath(std::string a_strPath, std::set<int>& a_oWatches, std::set<std::string>& a_oNames)
{
    std::error_code oError;
    for (int iLink = 0; iLink <= s_iMaxLinks; ++iLink)
    {
        std::filesystem::path oPath(a_strPath);
        while (oPath.has_relative_path() && !std::filesystem::is_directory(oPath.parent_path(), oError))
        {
            oPath = oPath.parent_path();
        }
        a_oNames.insert(oPath.filename().string());
        watch(oPath.parent_path().string(), s_uiFolderEvents, a_oWatches);
        watch(a_strPath, s_uiFileEvents, a_oWatches);
        const std::filesystem::path oTarget = std::filesystem::read_symlink(a_strPath, oError);
        if (oError)
        {
            return;
        }
        a_strPath = (std::filesystem::path(a_strPath).parent_path() / oTarget).lexically_normal().string();
    }
}

void FileWatch::watch(const std::string& a_strPath, std::uint32_t a_uiEvents, std::set<int>& a_oWatches)
{
    const int iWatch = inotify_add_watch(m_oInotify.get(), a_strPath.c_str(), a_uiEvents | IN_MASK_ADD);
    if (iWatch >= 0)
    {
        a_oWatches.insert(iWatch);
    }
}

/// Other names in a folder do not count. An event without a name is about what is watched itself; the end of a watch
/// counts unless it was ended here.
bool FileWatch::concernsUs(const inotify_event& a_oEvent) const
{
    if ((a_oEvent.mask & IN_IGNORED) != 0)
    {
        return m_oWatches.count(a_oEvent.wd) > 0;
    }
    return a_oEvent.len == 0 || m_oNames.count(a_oEvent.name) > 0;
}

void FileWatch::onReadable()
{
    alignas(inotify_event) std::array<char, 4096> oBuffer = {};
    bool bHint = false;
    ssize_t iSize = 0;
    while ((iSize = platform::readOnce(m_oInotify.get(), oBuffer.data(), oBuffer.size())) > 0)
    {
        for (const char* pAt = oBuffer.data(); pAt < oBuffer.data() + iSize;)
        {
            const auto& oEvent = *reinterpret_cast<const inotify_event*>(pAt); // the kernel keeps the alignment
            bHint = bHint || concernsUs(oEvent);
            pAt += sizeof oEvent + oEvent.len;
        }
    }
    if (bHint)
    {
        m_oHint(); // first: the events are gone, whatever becomes of the watches
        watchAll();
    }
}

} // namespace netifwatch
