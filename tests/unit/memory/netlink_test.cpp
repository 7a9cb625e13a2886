#include "fuse.h"

#include "netifwatch/kernelstate.h"

#include <gtest/gtest.h>

#include <new>

// Half a list would cost present interfaces their rows.
TEST(NetlinkMemoryTest, TheListOfInterfacesIsWholeOrNotRead)
{
    const std::size_t uiAll = netifwatch::readInterfaces().size();
    ASSERT_GT(uiAll, 0U);
    bool bFailed = true;
    for (int iFirst = 1; bFailed; ++iFirst)
    {
        try
        {
            const Fuse oFuse(iFirst, false);
            const std::size_t uiRead = netifwatch::readInterfaces().size();
            bFailed = Fuse::getLeft() <= 0;
            EXPECT_EQ(uiRead, uiAll) << iFirst;
        }
        catch (const std::bad_alloc&)
        {
        }
    }
}
