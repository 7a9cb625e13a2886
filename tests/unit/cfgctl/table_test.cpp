#include "cfgctl/statusrows.h"
#include "cfgctl/table.h"
#include "cfgctl/text.h"
#include "tests/unit/config/memoryclient.h"

#include <algorithm>
#include <gmock/gmock.h>

using cfgctl::Layout;
using cfgctl::Style;
using cfgctl::Table;

TEST(Utf8, WidthIsCountedInTerminalColumns)
{
    EXPECT_EQ(cfgctl::displayWidth("e\u0301"), 1U);
    EXPECT_EQ(cfgctl::displayWidth("\u65e5\u672c \U0001F600"), 7U);
    EXPECT_EQ(cfgctl::cutToWidth("abcd", 4), "abcd");
    EXPECT_EQ(cfgctl::cutToWidth("abcde", 4), "abc\u2026");
    EXPECT_EQ(cfgctl::cutToWidth("\u65e5\u672c\u8a9e", 4), "\u65e5\u2026");
    EXPECT_EQ(cfgctl::cutToWidth("\u00e4\u00e4\u00e4", 2), "\u00e4\u2026");
}

TEST(Text, IsWrappedAtWords)
{
    EXPECT_EQ(cfgctl::wrapWords("one two \u00e4\u00e4\u00e4 verylongword x", 9, 2),
              "one two\n  \u00e4\u00e4\u00e4\n  verylongword\n  x");
    EXPECT_EQ(cfgctl::wrapWords("one two three", 0), "one two three");
}

TEST(Table, AlignsWithoutTrailingBlanks)
{
    const Table oTable{
        {"Id", "Name", "Note"},
        {{{"7", Style::Plain, true}, {"\u00e4\u00f6"}, {""}}, {{"12", Style::Plain, true}, {"long name"}, {"x"}}}};
    EXPECT_EQ(cfgctl::renderTable(oTable, {}),
              "Id  Name       Note\n"
              " 7  \u00e4\u00f6\n"
              "12  long name  x\n");
    EXPECT_EQ(cfgctl::renderTable(Table{{"Id", "Name"}, {}}, {}), "Id  Name\n");
}

TEST(Table, CellsAreEscapedAndCut)
{
    const std::string strWild = "x\n\x1b[2J\xff" + std::string(300, 'y');
    const Table oTable{{"A", "B"}, {{{strWild, Style::Bad}, {""}}}};
    const std::string strPlain = cfgctl::renderTable(oTable, {});
    EXPECT_THAT(strPlain, testing::StartsWith("A" + std::string(101, ' ') + "B\nx\\x0a\\x1b[2J\\xffy"));
    EXPECT_THAT(strPlain, testing::EndsWith("y\u2026\n"));
    const std::size_t uiStart = strPlain.find('\n') + 1;
    EXPECT_EQ(cfgctl::displayWidth(strPlain.substr(uiStart, strPlain.size() - uiStart - 1)), cfgctl::g_uiMaxCell);
    EXPECT_THAT(cfgctl::renderTable(oTable, Layout{true, 0}), testing::HasSubstr("\x1b[31mx\\x0a\\x1b[2J"));
    EXPECT_THAT(cfgctl::renderTable({{"A", "B"}, {{{""}, {strWild}}}}, {}), testing::EndsWith("yyy\n"));
}

TEST(Table, ShrinksTheColumnsThatMayBeCut)
{
    const Table oTable{{"Id", "Answer", "Next"}, {{{"7"}, {std::string(20, 'a')}, {std::string(15, 'n')}}}, {1, 2}};
    const auto render = [&](std::size_t a_uiWidth) { return cfgctl::renderTable(oTable, Layout{false, a_uiWidth}); };
    EXPECT_EQ(render(40), "Id  Answer               Next\n7   aaaaaaaaaaaaaaaaaa\u2026  nnnnnnnnnnnnnnn\n");
    EXPECT_EQ(render(32), "Id  Answer        Next\n7   aaaaaaaaaaa\u2026  nnnnnnnnnnnnn\u2026\n");
    EXPECT_THAT(render(29), testing::StartsWith("Id      7\n"));
}

TEST(Table, BecomesBlocksWhenTooWideForTheTerminal)
{
    const Table oTable{{"Id", "Name"}, {{{"7", Style::Plain, true}, {"first"}}, {{"8", Style::Plain, true}, {""}}}};
    EXPECT_EQ(cfgctl::renderTable(oTable, Layout{false, 9}), "Id  Name\n 7  first\n 8\n");
    EXPECT_EQ(cfgctl::renderTable(oTable, Layout{false, 8}), "Id    7\nName  first\n\nId    8\nName\n");
    const Table oLong{{"Id", "Name"}, {{{"7"}, {"one two three four"}}}};
    EXPECT_EQ(cfgctl::renderTable(oLong, Layout{false, 19}), "Id    7\nName  one two three\n      four\n");
}

TEST(Status, CombinesTheTables)
{
    cfgctl::StatusSources oSources;
    oSources.m_oAccounts = {makeRow("Id=1 Hostname=a.example ServiceType=gnudip Interface=ppp0 Enable=1"),
                            makeRow("Id=2 Hostname=b.example ServiceType=x Interface=eth1 Enable=0"),
                            makeRow("Id=3 Hostname=c.example ServiceType=x Interface=eth2 Enable=1"),
                            makeRow("Id=4 Hostname=d.example ServiceType=x Interface= Enable=1")};
    oSources.m_oInterfaces = {makeRow("Name=ppp0 IsUp=1 Addr=192.0.2.1"), makeRow("Name=eth1 IsUp=0 Addr=192.0.2.2")};
    oSources.m_oIPv6 = {makeRow("Name=ppp0 Addr=2001:db8::1")};
    oSources.m_oStatus = {makeRow("DynDnsId=1 Timestamp=2026-03-01T17:45:09+0100 Success=1"),
                          makeRow("DynDnsId=2 Timestamp=yesterday Success=0")};
    oSources.m_oLog = {makeRow("DynDnsId=1 Response=old"),
                       makeRow("DynDnsId=1 Response=good\n"),
                       makeRow("DynDnsId=11 Response=other")};
    const auto oStates = cfgctl::makeStates(oSources, 1772383509 + 180);
    EXPECT_EQ(oStates.front().m_oFacts.getValue("AgeSeconds").getInteger(), 180);
    EXPECT_EQ(oStates.back().m_oFacts.getValue("InterfaceUp").getType(), korrin::eValueNull);
    const cfgctl::Table oTable = cfgctl::makeStatusTable(oStates);
    EXPECT_EQ(cfgctl::renderTable(oTable, {}),
              "Id  Hostname   Interface                      Last                   Answer  Next\n"
              " 1  a.example  ppp0 up 192.0.2.1 2001:db8::1  updated 3 minutes ago  good    nothing: Retry is 0\n"
              " 2  b.example  eth1 down                      failed yesterday               nothing: disabled\n"
              " 3  c.example  eth2 not monitored             not tried yet                  nothing: unknown "
              "ServiceType\n"
              " 4  d.example  none                           not tried yet                  nothing: unknown "
              "ServiceType\n");
    EXPECT_EQ(cfgctl::renderTable(oTable, {false, 62}),
              "Id  Hostname   Interface  Last              Answer  Next\n"
              " 1  a.example  ppp0 up    updated 3 min     good    impossible\n"
              " 2  b.example  eth1 down  failed yesterday          disabled\n"
              " 3  c.example  eth2 ?     not tried yet             impossible\n"
              " 4  d.example  none       not tried yet             impossible\n");

    // One line per cause, and whom it concerns.
    oSources.m_oAccounts = {makeRow("Id=1 Interface=eth9 Enable=1 Retry=1 ServiceType=gnudip"),
                            makeRow("Id=2 Interface=eth9 Enable=1 Retry=1 ServiceType=gnudip")};
    oSources.m_oLocal = {{"eth0", {}}, {"eth1", {}}};
    oSources.m_oClients = {makeRow("Name=cfgctl")};
    const auto oWarnings = cfgctl::findWarnings(cfgctl::makeStates(oSources, 1772383509));
    EXPECT_THAT(oWarnings,
                testing::IsSupersetOf(
                    {testing::StartsWith("No daemon (quorvad) is connected"),
                     testing::StartsWith("accounts 1, 2: Interface 'eth9' does not exist; this machine has eth0, "
                                         "eth1; 'cfgctl account set 1 --interface NAME' chooses another"),
                     testing::StartsWith("No watcher (netifwatch) is connected")}));
    EXPECT_EQ(std::set<std::string>(oWarnings.begin(), oWarnings.end()).size(), oWarnings.size());

    // What cfgctl.1 says of the form.
    const auto oJson = nlohmann::ordered_json::parse(cfgctl::statesToJson(oStates));
    std::string strKeys;
    for (const auto& oField : oJson.front().items())
    {
        strKeys += oField.key() + " ";
    }
    EXPECT_EQ(
        strKeys,
        "Id Hostname ServiceType Interface InterfaceUp Addr Addr6 Enable Outcome Timestamp AgeSeconds ResponseCode "
        "Response Next NextSeconds Ready Problems ");
    EXPECT_EQ(oJson[1]["Next"], "disabled");
    EXPECT_EQ(oJson[1]["NextSeconds"], nullptr);
    EXPECT_EQ(oJson[1]["Ready"], false);
    EXPECT_EQ(oJson[1]["Problems"][0]["Code"], "disabled");
    EXPECT_EQ(oJson[1]["Problems"][0]["Stops"], true);
    EXPECT_EQ(oJson[0]["Outcome"], "updated");
}

TEST(Status, HasOneLinePerAccountIn80Columns)
{
    const cfgctl::AccountState oState{
        makeRow("Id=12 Hostname=my-home-server.dyn.example Interface=wlan0 InterfaceUp=1 Addr=203.0.113.77 "
                "Addr6=2001:db8:1234:5678::1 Enable=1 Outcome=unchanged AgeSeconds=3540 Response=nochg-203.0.113.77"),
        {cfgctl::ENext::Retrying, 119, {}},
        {}};
    const Table oTable = cfgctl::makeStatusTable(std::vector<cfgctl::AccountState>(12, oState));
    const std::string strText = cfgctl::renderTable(oTable, {false, 80});
    EXPECT_EQ(std::count(strText.begin(), strText.end(), '\n'), 13);
    EXPECT_THAT(strText, testing::EndsWith("  wlan0 up   unchanged 59 min  nochg-2\u2026  retry in <119 s\n"));
}
