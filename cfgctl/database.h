#pragma once

#include "cfgctl/jsonimport.h"
#include "cfgctl/jsonoutput.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <chrono>
#include <string>
#include <vector>

namespace cfgctl
{

/// The client's operations with their failures turned into texts. Borrows the client. Every call is at least one
/// exchange with the service, may block for its time limit and throws Failure that says what couldn't be done and the
/// service's reason.
class Database
{
public:
    explicit Database(vadro::cfg::common::IConfigClient& a_oClient) : m_oClient(a_oClient) {}

    [[nodiscard]] std::vector<std::string> getTables();
    [[nodiscard]] korrin::ValueList getColumns(const std::string& a_strTable);
    [[nodiscard]] Schema getSchema();
    [[nodiscard]] unsigned int countRows(const std::string& a_strTable);
    [[nodiscard]] Rows getRows(const std::string& a_strTable);

    /// Asks for write access again and again while another client holds it, for at most that long.
    void beginWrite(std::chrono::milliseconds a_oPatience);
    void insertRow(const std::string& a_strTable, const korrin::ValueList& a_oValues);
    /// The Id of the table's last row: a writer reads what it wrote, so after insertRow it is the new row's.
    [[nodiscard]] int getLastId(const std::string& a_strTable);
    void updateRow(const std::string& a_strTable, const std::string& a_strId, const korrin::ValueList& a_oValues);
    void deleteRow(const std::string& a_strTable, const std::string& a_strId);
    /// Without it, the writes vanish with the connection.
    void commit();

private:
    void check(korrin::protocol::EResultCode a_oResult, const std::string& a_strWhat);

    vadro::cfg::common::IConfigClient& m_oClient;
};

} // namespace cfgctl
