#include "platform/client/configclient.h"

#include <utility>

namespace platform
{

using korrin::protocol::EResultCode;

namespace
{

EResultCode toCode(wire::Result a_eResult)
{
    return static_cast<unsigned int>(a_eResult);
}

wire::Request makeRequest(wire::Operation a_eOperation, const std::string& a_strTable = std::string())
{
    wire::Request oRequest;
    oRequest.m_eOperation = a_eOperation;
    oRequest.m_strTable = a_strTable;
    return oRequest;
}

wire::Request makeKeyRequest(wire::Operation a_eOperation,
                             const std::string& a_strTable,
                             const std::string& a_strKeyColumn,
                             const std::string& a_strKeyValue)
{
    wire::Request oRequest = makeRequest(a_eOperation, a_strTable);
    oRequest.m_strKeyColumn = a_strKeyColumn;
    oRequest.m_strKeyValue = a_strKeyValue;
    return oRequest;
}

} // namespace

ConfigClient::ConfigClient(IRequester& a_oRequester, bool a_bReadOnly)
    : m_oRequester(a_oRequester), m_bReadOnly(a_bReadOnly)
{
}

void ConfigClient::onConnectionLost()
{
    m_bAccess = false;
    m_oAhead.forgetAll();
}

EResultCode ConfigClient::gettables(std::list<std::string>& a_oNames)
{
    wire::Reply oReply = ask(makeRequest(wire::Operation::GetTables));
    a_oNames.splice(a_oNames.end(), oReply.m_oNames);
    return toCode(oReply.m_eResult);
}

EResultCode ConfigClient::getcolumns(const std::string& a_strTable, korrin::ValueList& a_oColumns)
{
    return readRow(makeRequest(wire::Operation::GetColumns, a_strTable), a_oColumns);
}

EResultCode ConfigClient::getlasterror(std::string& a_strText)
{
    a_strText = m_strLastError;
    return toCode(wire::Result::Ok);
}

EResultCode ConfigClient::getrowcount(const std::string& a_strTable, unsigned int& a_uiCount)
{
    const wire::Reply oReply = ask(makeRequest(wire::Operation::GetRowCount, a_strTable));
    if (oReply.m_eResult == wire::Result::Ok)
    {
        a_uiCount = oReply.m_uiNumber;
        m_oAhead.expectRows(a_strTable, a_uiCount);
    }
    return toCode(oReply.m_eResult);
}

EResultCode ConfigClient::getrow(const std::string& a_strTable,
                                 unsigned int a_uiIndex,
                                 korrin::NameList& a_oColumns,
                                 korrin::ValueList& a_oValues)
{
    wire::Request oRequest = makeRequest(wire::Operation::GetRow, a_strTable);
    oRequest.m_uiNumber = a_uiIndex;
    oRequest.m_oNames = a_oColumns;
    return readRowAhead(oRequest, a_oValues);
}

EResultCode ConfigClient::getrowbykey(const std::string& a_strTable,
                                      const std::string& a_strKeyColumn,
                                      const std::string& a_strKeyValue,
                                      korrin::NameList& a_oColumns,
                                      korrin::ValueList& a_oValues)
{
    wire::Request oRequest = makeKeyRequest(wire::Operation::GetRowByKey, a_strTable, a_strKeyColumn, a_strKeyValue);
    oRequest.m_oNames = a_oColumns;
    return readRowAhead(oRequest, a_oValues);
}

EResultCode ConfigClient::insertrow(const std::string& a_strTable, korrin::ValueList a_oValues)
{
    wire::Request oRequest = makeRequest(wire::Operation::InsertRow, a_strTable);
    oRequest.m_oValues = std::move(a_oValues);
    return write(std::move(oRequest));
}

std::optional<std::string> ConfigClient::getDigest(const std::string& a_strTable)
{
    const wire::Reply oReply = ask(makeRequest(wire::Operation::GetDigest, a_strTable));
    if (oReply.m_eResult != wire::Result::Ok || oReply.m_oRows.empty())
    {
        return std::nullopt;
    }
    return oReply.m_oRows.front().getValue(wire::g_acDigestColumn).getText();
}

EResultCode ConfigClient::getrows(const std::string& a_strTable, std::list<korrin::ValueList>& a_oRows)
{
    std::list<korrin::ValueList> oRows;
    wire::Request oRequest = makeRequest(wire::Operation::GetRows, a_strTable);
    for (;;)
    {
        wire::Reply oReply = ask(oRequest);
        if (oReply.m_eResult != wire::Result::Ok)
        {
            return toCode(oReply.m_eResult);
        }
        const bool bNothingMore = oReply.m_oRows.empty();
        oRows.splice(oRows.end(), oReply.m_oRows);
        if (oRows.size() >= oReply.m_uiNumber)
        {
            break;
        }
        if (bNothingMore)
        {
            return fail(wire::Result::Garbled, "The service sent fewer rows than it announced.");
        }
        oRequest.m_uiNumber = static_cast<std::uint32_t>(oRows.size());
    }
    a_oRows = std::move(oRows);
    return toCode(wire::Result::Ok);
}

EResultCode ConfigClient::deletekey(const std::string& a_strTable,
                                    const std::string& a_strKeyColumn,
                                    const std::string& a_strKeyValue)
{
    return write(makeKeyRequest(wire::Operation::DeleteKey, a_strTable, a_strKeyColumn, a_strKeyValue));
}

EResultCode ConfigClient::updatekey(const std::string& a_strTable,
                                    const std::string& a_strKeyColumn,
                                    const std::string& a_strKeyValue,
                                    korrin::ValueList a_oValues)
{
    wire::Request oRequest = makeKeyRequest(wire::Operation::UpdateKey, a_strTable, a_strKeyColumn, a_strKeyValue);
    oRequest.m_oValues = std::move(a_oValues);
    return write(std::move(oRequest));
}

EResultCode ConfigClient::deleterow(const std::string& a_strTable, unsigned int a_uiIndex)
{
    wire::Request oRequest = makeRequest(wire::Operation::DeleteRow, a_strTable);
    oRequest.m_uiNumber = a_uiIndex;
    return write(std::move(oRequest));
}

EResultCode ConfigClient::dropdbaccess()
{
    m_oAhead.forgetAll(); // with the access goes the writer's own view
    m_bAccess = false;
    return toCode(ask(makeRequest(wire::Operation::DropAccess)).m_eResult);
}

bool ConfigClient::hasdbaccess()
{
    return m_bAccess;
}

EResultCode ConfigClient::getserviceversion(std::string& a_strVersion)
{
    std::string strVersion = m_oRequester.getServiceVersion();
    if (strVersion.empty())
    {
        return fail(wire::Result::Disconnected, "There is no connection to the configuration service.");
    }
    a_strVersion = std::move(strVersion);
    m_strLastError.clear();
    return toCode(wire::Result::Ok);
}

EResultCode ConfigClient::getdbaccess()
{
    if (m_bReadOnly)
    {
        return fail(wire::Result::NoAccess, "This client only reads.");
    }
    m_oAhead.forgetAll(); // what is written from now on stands on what is there now
    const wire::Result eResult = ask(makeRequest(wire::Operation::GetAccess)).m_eResult;
    m_bAccess = eResult == wire::Result::Ok;
    return toCode(eResult);
}

EResultCode ConfigClient::commit()
{
    m_oAhead.forgetAll(); // with the access goes the writer's own view
    const wire::Result eResult = ask(makeRequest(wire::Operation::Commit)).m_eResult;
    m_bAccess = false; // the service ends the access with every outcome
    return toCode(eResult);
}

wire::Reply ConfigClient::ask(wire::Request a_oRequest)
{
    wire::Reply oReply = m_oRequester.request(std::move(a_oRequest));
    m_strLastError = oReply.m_eResult == wire::Result::Ok ? std::string() : oReply.m_strError;
    return oReply;
}

EResultCode ConfigClient::write(wire::Request a_oRequest)
{
    m_oAhead.forget(a_oRequest.m_strTable);
    const wire::Result eResult = ask(std::move(a_oRequest)).m_eResult;
    if (eResult == wire::Result::NoAccess)
    {
        m_bAccess = false; // taken away, for instance after a long idle time
    }
    return toCode(eResult);
}

EResultCode ConfigClient::readRow(wire::Request a_oRequest, korrin::ValueList& a_oValues)
{
    return giveRow(ask(std::move(a_oRequest)), a_oValues);
}

EResultCode ConfigClient::readRowAhead(const wire::Request& a_oRead, korrin::ValueList& a_oValues)
{
    std::optional<wire::Reply> oReply = m_oAhead.find(a_oRead);
    if (!oReply)
    {
        if (std::optional<wire::Request> oPage = m_oAhead.wantPage(a_oRead))
        {
            m_oAhead.keepPage(a_oRead, ask(std::move(*oPage)));
            oReply = m_oAhead.find(a_oRead);
        }
    }
    if (oReply)
    {
        m_strLastError = oReply->m_strError;
    }
    else
    {
        oReply = ask(a_oRead);
        m_oAhead.keep(a_oRead, *oReply);
    }
    return giveRow(std::move(*oReply), a_oValues);
}

EResultCode ConfigClient::giveRow(wire::Reply a_oReply, korrin::ValueList& a_oValues)
{
    if (a_oReply.m_eResult != wire::Result::Ok)
    {
        return toCode(a_oReply.m_eResult);
    }
    if (a_oReply.m_oRows.size() != 1)
    {
        return fail(wire::Result::Garbled, "The service's reply holds no row.");
    }
    a_oValues = std::move(a_oReply.m_oRows.front());
    return toCode(wire::Result::Ok);
}

EResultCode ConfigClient::fail(wire::Result a_eResult, const char* a_pReason)
{
    m_strLastError = a_pReason;
    return toCode(a_eResult);
}

} // namespace platform
