#pragma once

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
/// only the file it needs, or in a bundle, which every transfer parses as a whole at ten times the cost of the rest of
/// an update. Overrides previous values of these variables. Before other threads exist.
void chooseCertificates();

} // namespace quorvad
