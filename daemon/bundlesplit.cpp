#include "daemon/bundlesplit.h"

#include "platform/common/file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace quorvad
{

namespace
{

struct Release
{
    void operator()(BIO* a_pBio) const { BIO_free(a_pBio); }
    void operator()(X509* a_pCertificate) const { X509_free(a_pCertificate); }
    void operator()(std::FILE* a_pFile) const { std::fclose(a_pFile); }
    void operator()(char* a_pText) const { OPENSSL_free(a_pText); }
    void operator()(unsigned char* a_pBytes) const { OPENSSL_free(a_pBytes); }
};

template<typename T>
using Owned = std::unique_ptr<T, Release>;

/// What stands between two markers; no name at the end of the bundle.
struct Block
{
    Owned<char> m_pName;
    Owned<char> m_pHeader;
    Owned<unsigned char> m_pData;
    long m_iSize = 0;
};

[[noreturn]] void failWithOpenSsl()
{
    const char* pReason = ERR_reason_error_string(ERR_peek_last_error());
    const std::string strReason = pReason != nullptr ? pReason : "out of memory";
    ERR_clear_error();
    throw std::runtime_error(strReason);
}

Block readBlock(BIO* a_pBundle)
{
    char* pName = nullptr;
    char* pHeader = nullptr;
    unsigned char* pData = nullptr;
    long iSize = 0;
    ERR_clear_error();
    if (PEM_read_bio(a_pBundle, &pName, &pHeader, &pData, &iSize) == 1)
    {
        return {Owned<char>(pName), Owned<char>(pHeader), Owned<unsigned char>(pData), iSize};
    }
    if (ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_NO_START_LINE)
    {
        failWithOpenSsl();
    }
    ERR_clear_error();
    return {};
}

Owned<X509> decode(const Block& a_oBlock)
{
    const std::string_view strName = a_oBlock.m_pName.get();
    const bool bTrusted = strName == PEM_STRING_X509_TRUSTED;
    if ((strName != PEM_STRING_X509 && strName != PEM_STRING_X509_OLD && !bTrusted) || *a_oBlock.m_pHeader != '\0')
    {
        throw std::runtime_error("it does not hold certificates alone");
    }
    const unsigned char* pData = a_oBlock.m_pData.get();
    Owned<X509> pCertificate(bTrusted ? d2i_X509_AUX(nullptr, &pData, a_oBlock.m_iSize)
                                      : d2i_X509(nullptr, &pData, a_oBlock.m_iSize));
    if (!pCertificate)
    {
        failWithOpenSsl();
    }
    return pCertificate;
}

/// A new file under the first free number.
Owned<std::FILE> createHashed(const std::string& a_strFolder, unsigned long a_uiHash)
{
    Owned<std::FILE> pFile;
    constexpr int iMost = 1000;
    for (int iNumber = 0; !pFile && iNumber < iMost; ++iNumber)
    {
        std::array<char, 32> acName = {};
        std::snprintf(acName.data(), acName.size(), "/%08lx.%d", a_uiHash, iNumber);
        pFile.reset(std::fopen((a_strFolder + acName.data()).c_str(), "wxe"));
        if (!pFile && errno != EEXIST)
        {
            break;
        }
    }
    return pFile;
}

void writeHashed(const Block& a_oBlock, const std::string& a_strFolder)
{
    Owned<std::FILE> pFile = createHashed(a_strFolder, X509_subject_name_hash(decode(a_oBlock).get()));
    if (!pFile || PEM_write(pFile.get(), a_oBlock.m_pName.get(), "", a_oBlock.m_pData.get(), a_oBlock.m_iSize) <= 0 ||
        std::fclose(pFile.release()) != 0)
    {
        throw std::system_error(errno, std::generic_category());
    }
}

} // namespace

std::string splitBundle(const std::string& a_strBundle, const std::string& a_strFolder)
{
    try
    {
        const platform::FileContent oContent = platform::readFile(a_strBundle, g_uiMaxBundleBytes);
        if (!oContent.m_strFailure.empty())
        {
            return oContent.m_strFailure;
        }
        const Owned<BIO> pBundle(
            BIO_new_mem_buf(oContent.m_strBytes.data(), static_cast<int>(oContent.m_strBytes.size())));
        bool bAny = false;
        for (Block oBlock = readBlock(pBundle.get()); oBlock.m_pName; oBlock = readBlock(pBundle.get()))
        {
            writeHashed(oBlock, a_strFolder);
            bAny = true;
        }
        return bAny ? "" : "it holds no certificate";
    }
    catch (const std::system_error&)
    {
        throw;
    }
    catch (const std::runtime_error& oFailure)
    {
        return oFailure.what();
    }
}

} // namespace quorvad
