#include "daemon/certificates.h"
#include "tests/unit/support/folder.h"

#include <gmock/gmock.h>
#include <map>

namespace
{

std::string certificate(const std::string& a_strBody, const char* a_pLineEnd = "\n")
{
    return std::string("-----BEGIN CERTIFICATE-----") + a_pLineEnd + a_strBody + a_pLineEnd +
           "-----END CERTIFICATE-----" + a_pLineEnd;
}

} // namespace

// A folder with fewer certificates refuses good providers, one with more accepts bad ones.
TEST(Certificates, FolderIsUsedWhenItTrustsTheSame)
{
    const std::string strA = certificate("aaaa");
    const std::string strB = certificate("bbbb");
    struct Sample
    {
        std::map<std::string, std::string> m_oFiles;
        std::string m_strBundle;
        bool m_bFolder;
    };
    const std::vector<Sample> oSamples = {
        {{{"0123abcd.0", strA}, {"ffffffff.1", strB}}, strB + strA, true},
        {{{"0123abcd.0", "subject=A\n" + certificate("aaaa", "\r\n")}}, strA, true},
        {{{"0123abcd.0", strA}, {"ffffffff.0", strA}}, strA + strA, true},
        {{{"0123abcd.0", strA}}, "", true},
        {{}, strA, false},
        {{}, "", false},
        {{{"0123abcd.0", strA}}, strA + strB, false},
        {{{"0123abcd.0", strA}, {"ffffffff.0", strB}}, strA, false},
        {{{"a.pem", strA}, {"0123abcg.0", strA}, {"0123abcd.", strA}, {"0123abcd.r0", strA}}, strA, false},
        {{{"0123abcd.0", "-----BEGIN CERTIFICATE-----\naaaa\n"}}, strA, false},
    };
    for (const Sample& oSample : oSamples)
    {
        const Folder oFolder;
        for (const auto& [strName, strText] : oSample.m_oFiles)
        {
            (void)oFolder.write(strName, strText);
        }
        const std::string strBundle = oFolder.write("bundle", oSample.m_strBundle);
        const quorvad::CertificateStore oStore = quorvad::findCertificates(oFolder / "", strBundle);
        EXPECT_EQ(oStore.m_strFolder, oSample.m_bFolder ? oFolder / "" : "")
            << testing::PrintToString(oSample.m_oFiles);
        EXPECT_EQ(oStore.m_strBundle, oSample.m_bFolder ? "" : strBundle);
    }
}
