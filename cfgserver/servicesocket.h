#pragma once

#include "platform/base/lockfile.h"
#include "platform/base/uniquefd.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace cfgserver
{

/// The listening Unix socket of the service, safe in a folder that everybody may write to.
class ServiceSocket
{
public:
    /// Listens on a_strPath, mode 0600 from the first moment; with a group, that group's and mode 0660. Replaces a
    /// socket that a dead service of the caller left behind; root replaces anybody's, with a warning also one on which
    /// somebody listens whom clients do not trust. In a sticky folder root, like the folder's owner, moves aside what
    /// else a stranger put there. Throws std::runtime_error that names the path and the reason: used by a living
    /// process (with its id), not ours, not a socket, path too long.
    ServiceSocket(const std::string& a_strPath, std::optional<gid_t> a_oGroup);
    /// Removes the socket unless the path names another one by now.
    ~ServiceSocket();
    ServiceSocket(const ServiceSocket&) = delete;
    ServiceSocket& operator=(const ServiceSocket&) = delete;

    [[nodiscard]] int getFd() const { return m_oSocket.get(); }
    [[nodiscard]] std::optional<gid_t> getGroup() const { return m_oGroup; }

private:
    void takePath();
    void listen();
    void removeOurs() noexcept;

    std::string m_strPath;
    std::optional<gid_t> m_oGroup;
    platform::LockFile m_oLock; // held as long as the socket is ours
    platform::UniqueFd m_oSocket;
    dev_t m_uiDevice = 0;
    ino_t m_uiInode = 0;
};

} // namespace cfgserver
