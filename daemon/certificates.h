#pragma once

#include "daemon/bundlefolder.h"

#include <optional>
#include <string>

namespace quorvad
{

/// Where this machine keeps the certificates of trusted authorities; each empty if not to be used.
struct CertificateStore
{
    std::string m_strFolder; ///< files named after the hash of their subject, as c_rehash names them
    std::string m_strBundle; ///< all certificates in one file
};

/// The folder if it holds the same certificates as the bundle, or if there is no bundle; otherwise the bundle. A folder
/// with other certificates would trust other authorities.
[[nodiscard]] CertificateStore findCertificates(const std::string& a_strFolder, const std::string& a_strBundle);

/// Tells OpenSSL, through its environment variables, where to look certificates up: in a folder, from which it reads
/// only the file it needs. A bundle would be parsed as a whole by every transfer, at ten times the cost of the rest of
/// an update, so one whose certificates are not in the machine's folder is split into a folder of our own.
class Certificates
{
public:
    /// Overrides previous values of the variables. Before other threads exist.
    Certificates();

    /// Follows a bundle that has changed. To be called by the main thread from time to time.
    void refresh();

private:
    std::optional<BundleFolder> m_oBundle; ///< none if the machine's folder is used
};

} // namespace quorvad
