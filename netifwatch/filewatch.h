#pragma once

#include "platform/base/eventloop.h"
#include "platform/base/uniquefd.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

struct inotify_event;

namespace netifwatch
{

/// Notices when the content of files may have changed, in whatever way: written, replaced by rename, created, removed,
/// made readable, written through another mount, or the same with a link on the way to them. Best effort: what the
/// kernel does not report (network file systems) goes unnoticed.
class FileWatch
{
public:
    /// Calls back from within the loop, which must outlive this. Throws std::system_error when the kernel grants no
    /// descriptor.
    FileWatch(platform::EventLoop& a_oLoop, std::vector<std::string> a_oPaths, std::function<void()> a_oHint);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

private:
    void watchAll();
    void watchPath(std::string a_strPath, std::set<int>& a_oWatches, std::set<std::string>& a_oNames);
    void watch(const std::string& a_strPath, std::uint32_t a_uiEvents, std::set<int>& a_oWatches);
    [[nodiscard]] bool concernsUs(const inotify_event& a_oEvent) const;
    void onReadable();

    platform::EventLoop& m_oLoop;
    std::vector<std::string> m_oPaths;
    std::function<void()> m_oHint;
    platform::UniqueFd m_oInotify;
    std::set<int> m_oWatches;
    std::set<std::string> m_oNames; // of files and folders on the way
};

} // namespace netifwatch
