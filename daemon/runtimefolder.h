#pragma once

#include <string>
#include <vector>

namespace quorvad
{

/// A folder in memory for this process alone, mode 0700, that lasts as long as the object. What a killed process left
/// is removed by the next one: whoever lives holds a lock on its folder. The main thread's; nothing waits.
class RuntimeFolder
{
public:
    /// Where such a folder may be made: the service manager's place for this program, /run, which is root's, and the
    /// place of the user's session.
    [[nodiscard]] static std::vector<std::string> places();

    /// Made in the first place that exists, belongs to root or this user, may be written by this user and by no other.
    explicit RuntimeFolder(const std::vector<std::string>& a_oPlaces = places());
    /// Removes the folder with its contents.
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    /// Empty if there is no such place.
    [[nodiscard]] const std::string& getPath() const { return m_strPath; }

private:
    [[nodiscard]] bool makeIn(const std::string& a_strPlace);

    std::string m_strPath;
    int m_iLock = -1;
};

} // namespace quorvad
