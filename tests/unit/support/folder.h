#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A temporary folder; the destructor removes it and its contents.
class Folder
{
public:
    explicit Folder(const std::filesystem::path& a_oParent = std::filesystem::temp_directory_path())
        : m_strPath(a_oParent / "unit-test-XXXXXX")
    {
        if (mkdtemp(m_strPath.data()) == nullptr)
        {
            std::abort();
        }
    }
    ~Folder() { std::filesystem::remove_all(m_strPath); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] std::string operator/(const std::string& a_strName) const { return m_strPath + "/" + a_strName; }
    /// Returns the file's path.
    [[nodiscard]] std::string write(const std::string& a_strName, const std::string& a_strContent) const
    {
        std::ofstream(*this / a_strName, std::ios::binary) << a_strContent;
        return *this / a_strName;
    }

private:
    std::string m_strPath;
};

inline std::string contentOf(const std::string& a_strFile)
{
    std::ifstream oFile(a_strFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(oFile), {}};
}
