#include "daemon/bundlefolder.h"
#include "daemon/certificates.h"
#include "tests/unit/support/folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace quorvad;
namespace fs = std::filesystem;

namespace
{

/// The certificate of an authority; the same name gives the same subject, never the same key.
class Authority
{
public:
    explicit Authority(const char* a_pName)
    {
        EVP_PKEY* pKey = EVP_EC_gen("P-256");
        X509_gmtime_adj(X509_getm_notBefore(m_pCertificate), -60);
        X509_gmtime_adj(X509_getm_notAfter(m_pCertificate), 3600);
        X509_NAME* pName = X509_get_subject_name(m_pCertificate);
        const auto* pText = reinterpret_cast<const unsigned char*>(a_pName);
        X509_NAME_add_entry_by_txt(pName, "CN", MBSTRING_ASC, pText, -1, -1, 0);
        X509_set_issuer_name(m_pCertificate, pName);
        X509_set_pubkey(m_pCertificate, pKey);
        X509_sign(m_pCertificate, pKey, EVP_sha256());
        EVP_PKEY_free(pKey);
    }
    ~Authority() { X509_free(m_pCertificate); }
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;

    /// As PEM, with or without OpenSSL's own trust settings.
    [[nodiscard]] std::string text(bool a_bTrusted = false) const
    {
        BIO* pBio = BIO_new(BIO_s_mem());
        a_bTrusted ? PEM_write_bio_X509_AUX(pBio, m_pCertificate) : PEM_write_bio_X509(pBio, m_pCertificate);
        char* pBytes = nullptr;
        const long iBytes = BIO_get_mem_data(pBio, &pBytes);
        std::string strText(pBytes, static_cast<std::size_t>(iBytes));
        BIO_free(pBio);
        return strText;
    }

    /// As a transfer finds it: with these two places as OpenSSL's own.
    [[nodiscard]] bool isTrusted(const std::string& a_strFolder, const std::string& a_strBundle) const
    {
        setenv("SSL_CERT_DIR", a_strFolder.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): one thread
        setenv("SSL_CERT_FILE", a_strBundle.c_str(), 1); // NOLINT(concurrency-mt-unsafe): one thread
        X509_STORE* pStore = X509_STORE_new();
        X509_STORE_set_default_paths(pStore);
        X509_STORE_CTX* pContext = X509_STORE_CTX_new();
        X509_STORE_CTX_init(pContext, pStore, m_pCertificate, nullptr);
        STACK_OF(X509)* pFound = X509_STORE_CTX_get1_certs(pContext, X509_get_subject_name(m_pCertificate));
        bool bTrusted = false;
        for (int i = 0; i < sk_X509_num(pFound); ++i)
        {
            bTrusted |= X509_cmp(sk_X509_value(pFound, i), m_pCertificate) == 0;
        }
        sk_X509_pop_free(pFound, X509_free);
        X509_STORE_CTX_free(pContext);
        X509_STORE_free(pStore);
        return bTrusted;
    }

private:
    X509* m_pCertificate = X509_new();
};

class BundleFolderTest : public testing::Test
{
protected:
    /// Long ago, so that it counts as settled.
    void bundle(const std::string& a_strText) const
    {
        fs::last_write_time(m_oMachine.write("bundle", a_strText),
                            fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    [[nodiscard]] std::vector<std::string> places() const { return {m_oPlace / ""}; }

    /// One letter for each authority that is trusted; small where the bundle itself is read.
    [[nodiscard]] std::string trusted(const BundleFolder& a_oFolder) const
    {
        std::string strTrusted;
        for (const auto& [cName, pAuthority] : {std::pair{'a', &m_oA}, {'b', &m_oB}, {'c', &m_oSameAsB}})
        {
            if (pAuthority->isTrusted(a_oFolder.getFolder(), a_oFolder.getBundle()))
            {
                const bool bSplit = pAuthority->isTrusted(a_oFolder.getFolder(), "");
                strTrusted += bSplit ? static_cast<char>(std::toupper(cName)) : cName;
            }
        }
        return strTrusted;
    }

    const Folder m_oMachine;
    const Folder m_oPlace;
    const Authority m_oA{"One Root"};
    const Authority m_oB{"Other Root"};
    const Authority m_oSameAsB{"Other Root"};
};

} // namespace

TEST_F(BundleFolderTest, TrustsWhatOpenSslFindsInTheBundle)
{
    const std::string strA = m_oA.text();
    const std::string strB = m_oB.text();
    const std::string strCut = strB.substr(0, strB.size() / 2);
    std::string strLines = strB;
    for (std::size_t i = 0; (i = strLines.find('\n', i)) != std::string::npos; i += 2)
    {
        strLines.insert(i, "\r");
    }
    const std::vector<std::pair<std::string, std::string>> oSamples = {
        {strA + strB, "AB"},
        {strB + m_oSameAsB.text() + strB, "BC"}, // one subject, three files
        {"# One\n\nsubject=CN\n" + strA + "trailing words", "A"},
        {strA + strLines, "AB"},
        {m_oA.text(true) + strB, "AB"},
        {"", ""},
        {"no certificate at all\n", ""},
        {strA + strCut, ""}, // in these OpenSSL trusts nothing
        {strA + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n" + strB, ""},
        {strA + "-----BEGIN CERTIFICATE-----\n?\n-----END CERTIFICATE-----\n" + strB, ""},
        {strA + std::string("-----BEGIN PUBLIC KEY-----\nAAAA\n-----END PUBLIC KEY-----\n"), "a"},
        {std::string(5000000, 'x') + "\n" + strA, "a"},
    };
    BundleFolder oFolder(m_oMachine / "bundle", places());
    for (const auto& [strText, strTrusted] : oSamples)
    {
        bundle(strText);
        oFolder.refresh();
        EXPECT_EQ(trusted(oFolder), strTrusted) << strText.substr(0, 9999);
        for (const Authority* pOne : {&m_oA, &m_oB, &m_oSameAsB})
        {
            EXPECT_EQ(pOne->isTrusted(oFolder.getFolder(), oFolder.getBundle()),
                      pOne->isTrusted("", m_oMachine / "bundle"));
        }
    }
}

TEST_F(BundleFolderTest, FollowsTheBundle)
{
    bundle(m_oA.text());
    BundleFolder oFolder(m_oMachine / "bundle", places());
    oFolder.refresh();
    const std::string strFile = fs::canonical(oFolder.getFolder());
    oFolder.refresh();
    EXPECT_EQ(fs::canonical(oFolder.getFolder()), strFile) << "an unchanged bundle is left alone";

    bundle(m_oB.text());
    oFolder.refresh();
    EXPECT_EQ(trusted(oFolder), "B") << "in place, same size, same time of writing";
    fs::remove(m_oMachine / "bundle");
    oFolder.refresh();
    EXPECT_EQ(trusted(oFolder), "");
    (void)m_oMachine.write("bundle", m_oA.text());
    oFolder.refresh();
    (void)m_oMachine.write("bundle", m_oB.text());
    oFolder.refresh();
    EXPECT_EQ(trusted(oFolder), "B") << "twice within a step of the file system's clock";
    fs::remove(m_oMachine / "bundle");
    ASSERT_EQ(mkfifo((m_oMachine / "bundle").c_str(), 0600), 0);
    oFolder.refresh();
    EXPECT_EQ(trusted(oFolder), "") << "a pipe keeps nobody waiting";

    fs::remove(m_oMachine / "bundle");
    bundle(m_oA.text());
    fs::remove_all(fs::path(oFolder.getFolder()).parent_path());
    oFolder.refresh();
    EXPECT_EQ(trusted(oFolder), "A") << "somebody removed the folder";
}

TEST_F(BundleFolderTest, OnlyItsOwnerCanWriteTheFolder)
{
    bundle(m_oA.text());
    fs::permissions(m_oPlace / "", fs::perms::others_write, fs::perm_options::add);
    const BundleFolder oNowhere(m_oMachine / "bundle", {"", "relative", m_oMachine / "absent", m_oPlace / ""});
    EXPECT_TRUE(fs::is_empty(m_oPlace / ""));
    EXPECT_FALSE(oNowhere.isUsable());

    fs::permissions(m_oPlace / "", fs::perms::others_write, fs::perm_options::remove);
    BundleFolder oFolder(m_oMachine / "bundle", {m_oMachine / "absent", m_oPlace / ""});
    oFolder.refresh();
    EXPECT_TRUE(oFolder.isUsable());
    EXPECT_EQ(fs::status(fs::path(oFolder.getFolder()).parent_path()).permissions(), fs::perms::owner_all);
}

TEST_F(BundleFolderTest, LeftFoldersAreRemovedLivingOnesAreNot)
{
    bundle(m_oA.text());
    fs::create_directories(m_oPlace / "quorvad-certificates.Left00/a");
    fs::create_directories(m_oPlace / "quorvad-certificates-mine");
    fs::create_directory_symlink(m_oMachine / "", m_oPlace / "quorvad-certificates.Link00");
    {
        BundleFolder oLiving(m_oMachine / "bundle", places());
        oLiving.refresh();
        const BundleFolder oSecond(m_oMachine / "bundle", places());
        EXPECT_EQ(trusted(oLiving), "A");
        EXPECT_FALSE(fs::exists(m_oPlace / "quorvad-certificates.Left00"));
    }
    std::vector<std::string> oLeft;
    for (const auto& oEntry : fs::directory_iterator(m_oPlace / ""))
    {
        oLeft.push_back(oEntry.path().filename());
    }
    EXPECT_THAT(oLeft, testing::UnorderedElementsAre("quorvad-certificates-mine", "quorvad-certificates.Link00"));
    EXPECT_TRUE(fs::exists(m_oMachine / "bundle"));
}
