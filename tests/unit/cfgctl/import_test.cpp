#include "cfgctl/errors.h"
#include "cfgctl/importplan.h"
#include "cfgctl/tablejson.h"
#include "platform/common/values.h"
#include "tests/unit/cfgctl/expect.h"

#include <gmock/gmock.h>

using cfgctl::Failure;
using cfgctl::parseImport;
using testing::HasSubstr;

namespace
{

korrin::ValueList makeRow(int a_iId, int a_iRetry, const char* a_pAddress, const char* a_pPassword)
{
    korrin::ValueList oRow;
    oRow.add("Id", platform::integer(a_iId));
    oRow.add("Retry", platform::integer(a_iRetry));
    oRow.add("ServerAddr", platform::text(a_pAddress));
    oRow.add("Password", platform::text(a_pPassword));
    return oRow;
}

const cfgctl::Schema& getSchema()
{
    static const korrin::ValueList s_oDefaults = makeRow(0, 5, "", "");
    static const cfgctl::Schema s_oSchema = {{"DynDns", s_oDefaults}, {"Other", s_oDefaults}, {"etl", s_oDefaults}};
    return s_oSchema;
}

cfgctl::TablePlan plan(const std::string& a_strJson, const cfgctl::Rows& a_oPresent)
{
    const cfgctl::ImportedTable oTable = parseImport(a_strJson, getSchema()).at(0);
    return cfgctl::planImport(oTable, getSchema().at(oTable.m_strTable), a_oPresent);
}

std::string refusalOf(const std::string& a_strJson)
{
    return reasonOf<Failure>([&] { (void)parseImport(a_strJson, getSchema()); });
}

} // namespace

TEST(JsonImport, ReadsWhatTheExportWrites)
{
    const cfgctl::Rows oRows = {makeRow(2, -1, "https://h/?a=<ipaddr>", "p\"\\\n\u00e4\U0001F600"),
                                makeRow(1, 0, "", "")};
    const auto oTables = parseImport(cfgctl::tablesToJson({{"DynDns", oRows}, {"Other", {}}}), getSchema());
    ASSERT_EQ(oTables.size(), 2U);
    EXPECT_THAT(oTables[0].m_oRows, testing::ElementsAreArray(oRows));
    EXPECT_TRUE(oTables[1].m_oRows.empty());
    EXPECT_TRUE(parseImport("\xef\xbb\xbf{}", getSchema()).empty());
}

TEST(JsonImport, ErrorsGivePlaceAndReasonButNoSecret)
{
    const std::string strRow = "{\"DynDns\":[{";
    const std::vector<std::pair<std::string, const char*>> oCases = {
        {"", "line 1, column 1: not valid JSON"},
        {"\"geheim\"", "the file has to be one object"},
        {"{\"DynDns\":{}}", "DynDns: a table is a list of rows"},
        {"{\"DynDns\":[{},{\"Retry\":[]}]}", "DynDns, row 2, Retry: a column holds"},
        {strRow + "\"Retry\":\"5\"}]}", "DynDns, row 1, Retry: this column takes a whole number"},
        {strRow + "\"Retry\":2147483648}]}", "out of range"},
        {strRow + "\"Retry\":-2147483649}]}", "out of range"},
        {strRow + "\"Retry\":1e3}]}", "only whole numbers"},
        {strRow + "\"Retry\":1e999}]}", "line 1, column 25: not valid JSON"},
        {strRow + "\"Retry\":true}]}", "true and false are not values"},
        {strRow + "\"Retry\":null}]}", "null is not a value"},
        {strRow + "\"Password\":\"a\\u0000b\"}]}", "NUL"},
        {strRow + "\"Password\":\"" + std::string(65537, 'x') + "\"}]}", "longer than 65536"},
        {strRow + "\"Retri\":5}]}", "DynDns, row 1: Table DynDns has no column Retri; it has Id, Retry"},
        {strRow + "},{\"Retry\":5,\"Retry\":5}]}", "DynDns, entry 2, Retry: given twice"},
        {strRow + "\"Id\":5},{\"Id\":5}]}", "DynDns, row 2, Id: another row of this table has the same Id"},
        {"{\"DynDns\":[],\"DynDns\":[]}", "DynDns: given twice"},
        {"{\"DynDnss\":[]}", "there is no table \"DynDnss\""},
        {"{\"DynDns\":[]}\n x", "line 2, column 2: not valid JSON"},
        {strRow + "\"Password\":\"geheim}]}", "not valid JSON"},
        {strRow + "\"Password\":\"geheim\xff\"}]}", "line 1, column 31: not valid JSON"},
        {strRow + "\"Password\":\"\\ud800geheim\"}]}", "not valid JSON"},
        {std::string("{}\0", 3), "line 1, column 3: a NUL byte"},
    };
    for (const auto& [strJson, pReason] : oCases)
    {
        const std::string strSaid = refusalOf(strJson);
        EXPECT_THAT(strSaid, HasSubstr(pReason)) << strJson.substr(0, 100);
        EXPECT_THAT(strSaid, testing::Not(HasSubstr("geheim")));
    }
}

TEST(JsonImport, EnforcesItsLimits)
{
    const auto repeated = [](const std::string& a_strText, std::size_t a_uiTimes)
    {
        std::string strResult = a_strText;
        while (--a_uiTimes > 0)
        {
            strResult += "," + a_strText;
        }
        return strResult;
    };
    const std::string strRows = repeated("{}", cfgctl::g_uiImportRows);
    EXPECT_EQ(parseImport("{\"Other\":[" + strRows + "]}", getSchema()).at(0).m_oRows.size(), cfgctl::g_uiImportRows);
    std::string strNames = "\"x\":1";
    for (int iName = 0; iName < 100; ++iName)
    {
        strNames += ",\"" + std::to_string(iName) + "\":1";
    }
    const std::vector<std::pair<std::string, const char*>> oCases = {
        {"{\"DynDns\":[{}],\"Other\":[" + strRows + "]}", "more than 10000 rows"},
        {std::string(cfgctl::g_uiImportBytes + 1, ' '), "larger than 8388608 bytes"},
        {std::string(cfgctl::g_uiImportBytes, '['), "nested too deeply"},
        {"[" + repeated("1", 400000) + "]", "more than 320000 values"},
        {"{\"DynDns\":[{" + strNames + "}]}", "too many names"},
    };
    for (const auto& [strJson, pReason] : oCases)
    {
        EXPECT_THAT(refusalOf(strJson), HasSubstr(pReason));
    }
}

TEST(ImportPlan, RewritesRowsFromTheFirstDifference)
{
    const cfgctl::Rows oPresent = {makeRow(1, 5, "", ""), makeRow(2, 5, "a", ""), makeRow(3, 5, "", "")};
    // JSON, Ids deleted, rows inserted; rows added, changed, deleted, unchanged
    using Case = std::tuple<const char*, std::vector<std::string>, std::size_t, std::vector<unsigned>>;
    const std::vector<Case> oCases = {
        {R"({"Other":[{"Id":1},{"Id":2,"ServerAddr":"a"},{"Id":3}]})", {}, 0, {0, 0, 0, 3}},
        {R"({"Other":[{"Id":1},{"Id":2,"ServerAddr":"a"},{"Id":3},{}]})", {}, 1, {1, 0, 0, 3}},
        {R"({"Other":[{"Id":1},{"Id":3},{"Id":2,"ServerAddr":"a"}]})", {"2", "3"}, 2, {0, 0, 0, 3}},
        {R"({"Other":[{"Id":1},{"Id":2}]})", {"2", "3"}, 1, {0, 1, 1, 1}},
        {R"({"Other":[{},{"Id":9}]})", {"1", "2", "3"}, 2, {2, 0, 3, 0}},
    };
    for (const auto& [pJson, oDeletes, uiInserts, oCounts] : oCases)
    {
        const cfgctl::TablePlan oPlan = plan(pJson, oPresent);
        EXPECT_EQ(oPlan.m_oDeletes, oDeletes) << pJson;
        EXPECT_EQ(oPlan.m_oInserts.size(), uiInserts) << pJson;
        EXPECT_THAT(oCounts,
                    testing::ElementsAre(oPlan.m_uiAdded, oPlan.m_uiChanged, oPlan.m_uiDeleted, oPlan.m_uiUnchanged))
            << pJson;
    }
    // Rows that name their Id come first, so that it cannot be given to another row.
    EXPECT_TRUE(plan(R"({"Other":[{},{"Id":9}]})", oPresent).m_oInserts.front().hasValue("Id"));
    EXPECT_FALSE(plan(R"({"Other":[{},{"Id":9}]})", oPresent).m_oInserts.back().hasValue("Id"));
}

TEST(ImportPlan, KeepsSecretsUnlessTheFileHasNewOnes)
{
    const cfgctl::Rows oPresent = {makeRow(1, 5, "https://h/?key=k1", "geheim")};
    const auto planned = [&](const std::string& a_strColumns)
    { return plan(R"({"DynDns":[{"Id":1,"Retry":7,)" + a_strColumns + "}]}", oPresent).m_oInserts.front(); };
    const std::string strHidden = R"("ServerAddr":"https://h/?key=********")";
    EXPECT_EQ(planned(strHidden), makeRow(1, 7, "https://h/?key=k1", "geheim"));
    EXPECT_EQ(planned(strHidden + R"(,"Password":"********")"), makeRow(1, 7, "https://h/?key=k1", "geheim"));
    EXPECT_EQ(planned(strHidden + R"(,"Password":"")"), makeRow(1, 7, "https://h/?key=k1", ""));
    EXPECT_EQ(planned(R"("ServerAddr":"https://h/","Password":"neu")"), makeRow(1, 7, "https://h/", "neu"));
    for (const char* pJson : {R"({"DynDns":[{"Id":2,"Password":"********"}]})",
                              R"({"DynDns":[{"Password":"********"}]})",
                              R"({"DynDns":[{"Id":1,"ServerAddr":"https://other/?key=********"}]})"})
    {
        const std::string strReason = reasonOf<Failure>([&] { (void)plan(pJson, oPresent); });
        EXPECT_THAT(strReason, HasSubstr("--show-secrets")) << pJson;
        EXPECT_THAT(strReason, testing::Not(HasSubstr("geheim")));
    }
}

TEST(ImportPlan, UpdatesATableOfOneRow)
{
    const cfgctl::Rows oPresent = {makeRow(1, 5, "a", "")};
    const cfgctl::TablePlan oPlan = plan(R"({"etl":[{"Retry":7,"ServerAddr":"a"}]})", oPresent);
    EXPECT_THAT(oPlan.m_oUpdates, testing::ElementsAre(makeRow(1, 7, "a", "")));
    EXPECT_TRUE(oPlan.m_oDeletes.empty() && oPlan.m_oInserts.empty());
    EXPECT_TRUE(plan(R"({"etl":[{"Id":1,"ServerAddr":"a"}]})", oPresent).m_oUpdates.empty()) << "nothing changes";
    for (const char* pJson : {R"({"etl":[]})", R"({"etl":[{},{}]})", R"({"etl":[{"Id":2}]})"})
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)plan(pJson, oPresent); }), HasSubstr("always has exactly one row"));
    }
}
