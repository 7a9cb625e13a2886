#include "fuse.h"

#include "platform/client/serviceconnection.h"
#include "tests/unit/cfgserver/samples.h"
#include "tests/unit/support/liveservice.h"

#include <gmock/gmock.h>

namespace
{

struct ClientMemoryTest : testing::TestWithParam<bool>
{
    LiveService m_oService;
    platform::EventLoop m_oLoop;
    platform::LinkSettings m_oSettings;
};

/// The serial number that the service shows, or why not.
std::string readSerial(vadro::cfg::common::IConfigClient& a_oClient)
{
    korrin::NameList oNames;
    korrin::ValueList oRow;
    oNames.add("serial_no");
    const auto eResult = a_oClient.getrow("etl", 0, oNames, oRow);
    return eResult == 0 ? oRow.getValue("serial_no").getText() : "result " + std::to_string(eResult);
}

} // namespace

// However a client without memory loses a piece of the stream, it does not take a reply for another: the connection
// ends, and the next one is in step.
TEST_P(ClientMemoryTest, AClientIsInStepOrReconnects)
{
    m_oSettings.m_strSocketPath = m_oService.getSocket();
    m_oSettings.m_strClientName = "test";
    m_oSettings.m_uiRetryDelayMs = 10;
    platform::ServiceConnection oConnection(m_oLoop, m_oSettings, 10);
    oConnection.initialize();
    vadro::cfg::common::IConfigClient& oClient = oConnection.getConfigClient();
    bool bFailed = true;
    int iFirst = 1;
    for (; bFailed && !HasFailure(); ++iFirst)
    {
        unsigned uiCount = 0;
        try
        {
            const Fuse oFuse(iFirst, GetParam());
            const auto eResult = oClient.getrowcount("DNSRelay", uiCount);
            bFailed = Fuse::getLeft() <= 0;
            EXPECT_TRUE(uiCount == 1 || eResult != 0);
        }
        catch (const std::bad_alloc&)
        {
        }
        std::string strSerial = readSerial(oClient);
        for (const platform::Deadline oEnd(std::chrono::seconds(10));
             strSerial.rfind("result", 0) == 0 && !oEnd.hasPassed();)
        {
            m_oLoop.wait(10); // connects again
            strSerial = readSerial(oClient);
        }
        EXPECT_EQ(strSerial, "Sxxxxxxxxxxxx") << iFirst;
    }
    EXPECT_GT(iFirst, 5);
}

INSTANTIATE_TEST_SUITE_P(OneAllocationAndAllFromThereOn, ClientMemoryTest, testing::Bool());
