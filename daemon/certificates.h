#pragma once

#include <string>

namespace quorvad
{

/// Where this machine keeps the certificates of the authorities that it trusts; each empty when not to be used.
struct CertificateStore
{
    std::string m_strFolder; ///< files named after the hash of their subject, as c_rehash names them
    std::string m_strBundle; ///< all certificates in one file
};

/// The folder when it holds the same certificates as the bundle, or when there is no bundle; else the bundle. A folder
/// that knows others would trust others.
[[nodiscard]] CertificateStore findCertificates(const std::string& a_strFolder, const std::string& a_strBundle);

/// Tells OpenSSL, through its own environment variables, where to look when a transfer meets a certificate: one file of
/// a few that a folder offers, or else a bundle that every transfer reads as a whole, which costs ten times as much as
/// the rest of an update. What these variables said before does not count. Before other threads exist.
void chooseCertificates();

} // namespace quorvad
