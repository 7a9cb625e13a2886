#include "scheduler/random.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

using quorvad::detail::getRandomUint;

// The engine's first outputs for seed 5489 are 3499211612 and 581869302; the expected results are worked out by hand.
TEST(Random, MapsEngineOutputsToTheRange)
{
    const std::uint32_t uiSeed = 5489;
    const int iFd = memfd_create("device", 0);
    ASSERT_EQ(write(iFd, &uiSeed, sizeof(uiSeed)), 4);
    const std::string strDevice = "/proc/self/fd/" + std::to_string(iFd);
    EXPECT_EQ(getRandomUint(strDevice.c_str(), 0), 3499211613U);
    EXPECT_EQ(getRandomUint(strDevice.c_str(), 1), 1U);
    EXPECT_EQ(getRandomUint(strDevice.c_str(), 20), 17U);
    EXPECT_EQ(getRandomUint(strDevice.c_str(), 3000000000U), 581869303U)
        << "the first output is out of range and skipped";
    EXPECT_EQ(getRandomUint(strDevice.c_str(), UINT32_MAX), 3499211613U);

    ASSERT_EQ(ftruncate(iFd, 3), 0);
    for (const std::string& strBroken : {strDevice, strDevice + "-missing"})
    {
        EXPECT_THAT([&] { (void)getRandomUint(strBroken.c_str(), 20); },
                    testing::ThrowsMessage<std::runtime_error>("random_device::random_device(const std::string&)"));
    }
    close(iFd);
}
