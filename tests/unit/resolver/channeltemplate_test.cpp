#include "resolver/channeltemplate.h"

#include "tests/unit/support/folder.h"

#include <arpa/inet.h>
#include <filesystem>
#include <gtest/gtest.h>

using namespace quorvad;

namespace
{

/// Settings in files of a temporary folder, parsed by c-ares.
class ChannelTemplateTest : public testing::Test
{
protected:
    int parse(ares_channel* a_ppChannel)
    {
        ++m_iParsed;
        ares_options oOptions = {};
        oOptions.resolvconf_path = m_strResolv.data();
        return m_iFailure != ARES_SUCCESS ? m_iFailure : ares_init_options(a_ppChannel, &oOptions, ARES_OPT_RESOLVCONF);
    }

    /// A template that trusts a file as soon as it is written, unless told otherwise.
    ChannelTemplate make(std::int64_t a_iTickSec = -1)
    {
        return ChannelTemplate(
            {m_strResolv.c_str(), m_strSwitch.c_str(), m_strHost.c_str(), m_strHost.c_str()},
            [this](ares_channel* a_ppChannel) { return parse(a_ppChannel); },
            a_iTickSec);
    }

    /// The search list and the servers of a new channel.
    static std::string settings(ChannelTemplate& a_oTemplate)
    {
        ares_channel pChannel = nullptr;
        if (a_oTemplate.make(&pChannel) != ARES_SUCCESS)
        {
            return "failed";
        }
        ares_options oOptions = {};
        int iMask = 0;
        EXPECT_EQ(ares_save_options(pChannel, &oOptions, &iMask), ARES_SUCCESS);
        std::string strFound;
        for (int iDomain = 0; iDomain < oOptions.ndomains; ++iDomain)
        {
            strFound += oOptions.domains[iDomain] + std::string(" ");
        }
        ares_destroy_options(&oOptions);
        ares_addr_port_node* pServers = nullptr;
        ares_get_servers_ports(pChannel, &pServers);
        for (const ares_addr_port_node* pServer = pServers; pServer != nullptr; pServer = pServer->next)
        {
            char acText[INET6_ADDRSTRLEN] = "";
            strFound += inet_ntop(pServer->family, &pServer->addr, acText, sizeof(acText)) + std::string(" ");
        }
        ares_free_data(pServers);
        ares_destroy(pChannel);
        return strFound;
    }

    const Folder m_oFolder;
    std::string m_strResolv = m_oFolder.write("resolv", "search one.example\nnameserver 192.0.2.1\n");
    const std::string m_strSwitch = m_oFolder.write("switch", "hosts: files dns\n");
    const std::string m_strHost = m_oFolder / "host";
    int m_iFailure = ARES_SUCCESS;
    int m_iParsed = 0;
};

} // namespace

TEST_F(ChannelTemplateTest, ParsesOnceUntilAFileChanges)
{
    ChannelTemplate oTemplate = make();
    for (int iChannel = 0; iChannel < 3; ++iChannel)
    {
        EXPECT_EQ(settings(oTemplate), "one.example 192.0.2.1 ");
    }
    EXPECT_EQ(m_iParsed, 1);
    (void)m_oFolder.write("resolv", "search two.example\nnameserver 2001:db8::2\nnameserver 192.0.2.2\n");
    EXPECT_EQ(settings(oTemplate), "two.example 2001:db8::2 192.0.2.2 ");
    EXPECT_EQ(settings(oTemplate), "two.example 2001:db8::2 192.0.2.2 ");
    EXPECT_EQ(m_iParsed, 2);
    (void)m_oFolder.write("host", "order hosts\n"); // was not there
    EXPECT_EQ(settings(oTemplate), "two.example 2001:db8::2 192.0.2.2 ");
    EXPECT_EQ(m_iParsed, 3);
}

TEST_F(ChannelTemplateTest, SeesAnotherFileOfTheSameSizeAndTime)
{
    ChannelTemplate oTemplate = make();
    EXPECT_EQ(settings(oTemplate), "one.example 192.0.2.1 ");
    const std::string strNew = m_oFolder.write("new", "search two.example\nnameserver 192.0.2.1\n");
    std::filesystem::last_write_time(strNew, std::filesystem::last_write_time(m_strResolv));
    std::filesystem::rename(strNew, m_strResolv);
    EXPECT_EQ(settings(oTemplate), "two.example 192.0.2.1 ");
}

TEST_F(ChannelTemplateTest, DoesNotTrustWhatHasJustChangedOrCannotBeOpened)
{
    ChannelTemplate oTemplate = make(ChannelTemplate::s_iTickSec);
    settings(oTemplate);
    settings(oTemplate);
    EXPECT_EQ(m_iParsed, 2);

    std::filesystem::create_symlink("host", m_strHost); // refers to itself
    ChannelTemplate oUnreadable = make();
    settings(oUnreadable);
    settings(oUnreadable);
    EXPECT_EQ(m_iParsed, 4);
}

TEST_F(ChannelTemplateTest, PassesFailuresOnAndForgetsThem)
{
    ChannelTemplate oTemplate = make();
    m_iFailure = ARES_ENOMEM;
    ares_channel pChannel = nullptr;
    EXPECT_EQ(oTemplate.make(&pChannel), ARES_ENOMEM);
    m_iFailure = ARES_SUCCESS;
    EXPECT_EQ(settings(oTemplate), "one.example 192.0.2.1 ");
}
