#pragma once

#include "daemon/runtimefolder.h"
#include "platform/common/file.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorvad
{

/// A hashed folder that holds what a bundle holds, made anew whenever the bundle changes. While the bundle cannot be
/// split, or there is no room, its place is taken by a folder whose file getBundle() leads to the bundle itself, so
/// that OpenSSL judges it. A transfer sees one or the other, never a part. The main thread's; transfers only read.
class BundleFolder
{
public:
    BundleFolder(const std::string& a_strBundle, const std::vector<std::string>& a_oPlaces = RuntimeFolder::places());

    /// Splits the bundle if it is not as it was last time, or was changed so shortly before that a second change might
    /// not show; otherwise that costs two system calls. Blocks for the disk, and for a split some 40 ms.
    void refresh();

    /// False if there is no place for the folder, or not even room for the link to the bundle.
    [[nodiscard]] bool isUsable() const;

    /// For SSL_CERT_DIR and SSL_CERT_FILE; they never change.
    [[nodiscard]] std::string getFolder() const;
    [[nodiscard]] std::string getBundle() const;

private:
    [[nodiscard]] std::string path(const std::string& a_strName) const { return m_oFolder.getPath() + "/" + a_strName; }
    /// Fills the folder that is not in use, and makes the link lead there. False if there was no room.
    [[nodiscard]] bool install();
    [[nodiscard]] bool hasRoomFor(const std::function<void()>& a_oWork);
    void fill(const std::string& a_strName);
    void leaveToOpenSsl(const std::string& a_strName);
    void use(const std::string& a_strName);
    void report(const std::string& a_strFailure);

    RuntimeFolder m_oFolder;
    std::string m_strBundle;
    std::optional<platform::FileStamp> m_oSplit; ///< the bundle before it was read
    std::string m_strFailure;                    ///< why OpenSSL reads the bundle itself
};

} // namespace quorvad
