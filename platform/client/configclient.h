#pragma once

#include "platform/client/readahead.h"
#include "platform/wire/message.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <optional>
#include <string>

namespace platform
{

/// What carries a request to the service and brings its reply; the connection's failures are replies, too.
class IRequester
{
public:
    virtual ~IRequester() = default;
    virtual wire::Reply request(wire::Request a_oRequest) = 0;
    /// Empty while there is no connection.
    [[nodiscard]] virtual std::string getServiceVersion() const = 0;
};

/// The client of the configuration service: turns operations into requests. Throws nothing but std::bad_alloc.
class ConfigClient : public vadro::cfg::common::IConfigClient
{
public:
    /// The requester is borrowed and must outlive the client.
    ConfigClient(IRequester& a_oRequester, bool a_bReadOnly);

    /// Write access does not outlive the connection, nor does what was read ahead.
    void onConnectionLost();
    void onTableChanged(const std::string& a_strTable) { m_oAhead.forget(a_strTable); }
    /// While the handler is called, its reads may be answered by what was read ahead since the call began: nothing is
    /// older than that, and nothing older than a notification that has come.
    void setDelivering(bool a_bDelivering) { m_oAhead.setDelivering(a_bDelivering); }

    korrin::protocol::EResultCode gettables(std::list<std::string>& a_oNames) override;
    korrin::protocol::EResultCode getcolumns(const std::string& a_strTable, korrin::ValueList& a_oColumns) override;
    korrin::protocol::EResultCode getlasterror(std::string& a_strText) override;
    korrin::protocol::EResultCode getrowcount(const std::string& a_strTable, unsigned int& a_uiCount) override;
    korrin::protocol::EResultCode getrow(const std::string& a_strTable,
                                         unsigned int a_uiIndex,
                                         korrin::NameList& a_oColumns,
                                         korrin::ValueList& a_oValues) override;
    korrin::protocol::EResultCode getrowbykey(const std::string& a_strTable,
                                              const std::string& a_strKeyColumn,
                                              const std::string& a_strKeyValue,
                                              korrin::NameList& a_oColumns,
                                              korrin::ValueList& a_oValues) override;
    korrin::protocol::EResultCode insertrow(const std::string& a_strTable, korrin::ValueList a_oValues) override;
    /// A text that changes with the table's content; nothing if the service is away or tells none.
    [[nodiscard]] std::optional<std::string> getDigest(const std::string& a_strTable);
    /// In as many requests as the table needs; a table that is changed in between may come as a mixture.
    korrin::protocol::EResultCode getrows(const std::string& a_strTable,
                                          std::list<korrin::ValueList>& a_oRows) override;
    korrin::protocol::EResultCode deletekey(const std::string& a_strTable,
                                            const std::string& a_strKeyColumn,
                                            const std::string& a_strKeyValue) override;
    korrin::protocol::EResultCode updatekey(const std::string& a_strTable,
                                            const std::string& a_strKeyColumn,
                                            const std::string& a_strKeyValue,
                                            korrin::ValueList a_oValues) override;
    korrin::protocol::EResultCode deleterow(const std::string& a_strTable, unsigned int a_uiIndex) override;
    korrin::protocol::EResultCode dropdbaccess() override;
    bool hasdbaccess() override;
    korrin::protocol::EResultCode getserviceversion(std::string& a_strVersion) override;
    korrin::protocol::EResultCode getdbaccess() override;
    korrin::protocol::EResultCode commit() override;

private:
    wire::Reply ask(wire::Request a_oRequest);
    korrin::protocol::EResultCode write(wire::Request a_oRequest);
    korrin::protocol::EResultCode readRow(wire::Request a_oRequest, korrin::ValueList& a_oValues);
    korrin::protocol::EResultCode readRowAhead(const wire::Request& a_oRead, korrin::ValueList& a_oValues);
    korrin::protocol::EResultCode giveRow(wire::Reply a_oReply, korrin::ValueList& a_oValues);
    korrin::protocol::EResultCode fail(wire::Result a_eResult, const char* a_pReason);

    IRequester& m_oRequester;
    bool m_bReadOnly;
    bool m_bAccess = false;
    std::string m_strLastError;
    ReadAhead m_oAhead;
};

} // namespace platform
