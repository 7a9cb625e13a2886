#include "actions/action.h"
#include "scheduler/scheduler.h"
#include "status/statusinfolog.h"
#include "tests/unit/config/memoryclient.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <numeric>
#include <random>

using namespace quorvad;
using namespace std::chrono_literals;

namespace
{

class Try : public Action
{
public:
    explicit Try(std::function<bool()> a_oTry) : m_oTry(std::move(a_oTry)) {}
    bool execute() override { return m_oTry(); }
    std::function<bool()> m_oTry;
};

} // namespace

// 400 accounts, each replaced about every 4 s, when its worker checks the clock: just before, during or just after a
// try. Every second scheduler lives for microseconds only. QUORVAD_REPLACEMENTS=10000 makes it thorough.
TEST(Scheduler, ReplacedAtRandomMomentsLosesNoOutcome)
{
    const char* pRounds = std::getenv("QUORVAD_REPLACEMENTS");
    const int iRounds = pRounds != nullptr ? std::atoi(pRounds) : 1600;
    std::mt19937 oDice(std::random_device{}());
    const auto random = [&oDice](unsigned a_uiMost) { return std::chrono::microseconds(oDice() % a_uiMost); };
    StatusInfoLog oStore;
    MemoryClient oClient;
    int aiTries[400] = {}; // not atomic: an account's workers never overlap
    std::unique_ptr<Scheduler> apSchedulers[400];
    std::chrono::steady_clock::duration oSlowest{};
    for (int iRound = 0; iRound < iRounds; ++iRound)
    {
        const int iId = iRound / 2 % 400;
        const auto tryOnce = [&, iId, oPause = random(15000)]
        {
            std::this_thread::sleep_for(oPause);
            const std::string strRow = "DynDnsId=" + std::to_string(iId) + " Tries=" + std::to_string(++aiTries[iId]);
            ConfigObject oLog("DynDnsLog", 1), oStatus("DynDnsStatus", 1);
            oLog.m_oLastSnapshot = oStatus.m_oLastSnapshot = makeRow(strRow);
            oStore.push(oLog, oStatus);
            return iId % 2 == 0;
        };
        const auto oBegin = std::chrono::steady_clock::now();
        apSchedulers[iId].reset();
        oSlowest = std::max(oSlowest, std::chrono::steady_clock::now() - oBegin);
        apSchedulers[iId] = std::make_unique<Scheduler>(0, 9, std::make_shared<Try>(tryOnce));
        std::this_thread::sleep_for(iRound % 2 == 0 ? random(100) : random(20000));
        oStore.commitChanges(oClient);
    }
    std::for_each(std::begin(apSchedulers), std::end(apSchedulers), [](auto& a_pScheduler) { a_pScheduler.reset(); });
    oStore.commitChanges(oClient);
    EXPECT_LT(oSlowest, 2s) << "a worker missed its stop";
    EXPECT_GT(std::accumulate(std::begin(aiTries), std::end(aiTries), 0), iRounds / 8);
    for (int iId = 0; iId < 400; ++iId)
    {
        const korrin::ValueList* pRow = oClient.find("DynDnsStatus", "DynDnsId", std::to_string(iId));
        EXPECT_EQ(pRow != nullptr ? pRow->getValue("Tries").getInteger() : 0, aiTries[iId]) << iId;
    }
}
