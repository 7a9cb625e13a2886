#include "daemon/certificates.h"

#include "daemon/bundlesplit.h"
#include "platform/common/file.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>

namespace quorvad
{

namespace
{

constexpr std::string_view s_strBegin = "-----BEGIN ";
constexpr std::string_view s_strEnd = "-----END ";

/// Eight hexadecimal digits of hash, a dot, and a number to distinguish equal hashes.
bool isHashedName(const std::string& a_strName)
{
    constexpr std::size_t uiDigits = 8;
    const auto isHex = [](unsigned char a_cOne) { return std::isxdigit(a_cOne) != 0; };
    const auto isDigit = [](unsigned char a_cOne) { return std::isdigit(a_cOne) != 0; };
    return a_strName.size() > uiDigits + 1 && a_strName[uiDigits] == '.' &&
           std::all_of(a_strName.begin(), a_strName.begin() + uiDigits, isHex) &&
           std::all_of(a_strName.begin() + uiDigits + 1, a_strName.end(), isDigit);
}

/// Adds the certificates of a file, each as the text between its markers, which is the same in every file.
void readCertificates(const std::string& a_strFile, std::set<std::string>& a_oCertificates)
{
    std::istringstream oFile(platform::readFile(a_strFile, g_uiMaxBundleBytes).m_strBytes);
    std::string strBody;
    bool bInside = false;
    for (std::string strLine; std::getline(oFile, strLine);)
    {
        if (strLine.compare(0, s_strBegin.size(), s_strBegin) == 0)
        {
            strBody.clear();
            bInside = true;
        }
        else if (bInside && strLine.compare(0, s_strEnd.size(), s_strEnd) == 0)
        {
            a_oCertificates.insert(strBody);
            bInside = false;
        }
        else if (bInside)
        {
            strBody += strLine.substr(0, strLine.find_last_not_of("\r ") + 1);
        }
    }
}

std::set<std::string> readFolder(const std::string& a_strFolder)
{
    std::set<std::string> oCertificates;
    std::error_code oError;
    for (std::filesystem::directory_iterator it(a_strFolder, oError); !oError && it != std::filesystem::end(it);
         it.increment(oError))
    {
        if (isHashedName(it->path().filename().string()))
        {
            readCertificates(it->path().string(), oCertificates);
        }
    }
    return oCertificates;
}

/// The folder as a list of one. OpenSSL 3 looks up what is in no folder of the list a second time, by reading all names
/// of the folder that the whole value names; there is none with a colon at its end.
std::string asList(const std::string& a_strFolder)
{
    return a_strFolder.empty() ? "" : a_strFolder + ":";
}

// An empty value keeps OpenSSL from using its built-in places.
void set(const char* a_pVariable, const std::string& a_strPath)
{
    setenv(a_pVariable, a_strPath.c_str(), 1); // NOLINT(concurrency-mt-unsafe): no other thread yet
}

} // namespace

CertificateStore findCertificates(const std::string& a_strFolder, const std::string& a_strBundle)
{
    const std::set<std::string> oFolder = readFolder(a_strFolder);
    std::set<std::string> oBundle;
    readCertificates(a_strBundle, oBundle);
    return !oFolder.empty() && (oBundle.empty() || oFolder == oBundle) ? CertificateStore{a_strFolder, ""}
                                                                       : CertificateStore{"", a_strBundle};
}

Certificates::Certificates()
{
    const CertificateStore oStore = findCertificates(QUORVAD_CERTIFICATE_FOLDER, QUORVAD_CERTIFICATE_BUNDLE);
    if (!oStore.m_strBundle.empty())
    {
        m_oBundle.emplace(oStore.m_strBundle);
        m_oBundle->refresh();
    }
    if (m_oBundle && !m_oBundle->isUsable())
    {
        m_oBundle.reset();
    }
    set("SSL_CERT_DIR", asList(m_oBundle ? m_oBundle->getFolder() : oStore.m_strFolder));
    set("SSL_CERT_FILE", m_oBundle ? m_oBundle->getBundle() : oStore.m_strBundle);
}

void Certificates::refresh()
{
    if (m_oBundle)
    {
        m_oBundle->refresh();
    }
}

} // namespace quorvad
