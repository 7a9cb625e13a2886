// Requests of three clients, one per line: client, operation (A: Hello, and so on), number|table|key
// column|key|columns; a column is NAME, NAME=TEXT, NAME#INTEGER or NAME~. W lets time pass, X ends the client's
// connection.
#include "cfgserver/service.h"
#include "cfgserver/database.h"
#include "tests/fuzz/fuzz.h"
#include "vadro/sysloglevel.h"

#include <algorithm>
#include <sstream>

namespace
{

wire::Request readRequest(std::istream& a_oLine)
{
    wire::Request oRequest;
    std::string strField;
    a_oLine >> oRequest.m_uiNumber;
    a_oLine.clear();
    std::getline(a_oLine, strField, '|');
    std::getline(a_oLine, oRequest.m_strTable, '|');
    std::getline(a_oLine, oRequest.m_strKeyColumn, '|');
    std::getline(a_oLine, oRequest.m_strKeyValue, '|');
    while (std::getline(a_oLine, strField, '|'))
    {
        const std::size_t uiName = strField.find_first_of("=#~");
        if (uiName == std::string::npos)
        {
            oRequest.m_oNames.add(strField);
            continue;
        }
        const unsigned uiType = strField[uiName] == '=' ? korrin::eValueText : strField[uiName] == '#' ? 2U : 0U;
        oRequest.m_oValues.add(strField.substr(0, uiName), korrin::Value(uiType, strField.substr(uiName + 1)));
    }
    return oRequest;
}

struct Kept
{
    cfgserver::Database m_oDatabase{":memory:"};
    cfgserver::Store m_oStore{m_oDatabase};
};

} // namespace

void fuzz(std::string_view a_strInput)
{
    VADRO_Sysloglevel_changeTracelevelAll(0);
    static bool bCommitted = false;
    static std::unique_ptr<Kept> pKept = std::make_unique<Kept>();
    if (std::exchange(bCommitted, false)) // a new store takes longer than all the rest
    {
        pKept = std::make_unique<Kept>();
    }
    cfgserver::Service oService(pKept->m_oStore, {});
    cfgserver::Client aoClients[3];
    cfgserver::Clock::time_point oNow;
    std::istringstream oInput{std::string(a_strInput)};
    for (std::string strLine; std::getline(oInput, strLine);)
    {
        std::istringstream oLine(strLine);
        cfgserver::Client& oClient = aoClients[static_cast<unsigned>(oLine.get()) % 3];
        const int iOperation = oLine.get();
        wire::Request oRequest = readRequest(oLine);
        oRequest.m_eOperation = static_cast<wire::Operation>(std::clamp(iOperation - 'A' + 1, 1, 14));
        oRequest = std::get<wire::Request>(wire::decode(wire::encode(oRequest)));
        oNow += std::chrono::seconds(iOperation == 'W' ? oRequest.m_uiNumber : 0);
        oService.expire(oNow);
        if (iOperation == 'X')
        {
            oService.leave(oClient);
            oClient = {};
            continue;
        }
        const wire::Reply oReply = oService.answer(oClient, oRequest, oNow).m_oReply;
        require((oReply.m_eResult == wire::Result::Ok) == oReply.m_strError.empty());
        require(wire::encode(wire::decode(wire::encode(oReply))) == wire::encode(oReply));
        bCommitted |= oRequest.m_eOperation == wire::Operation::Commit && oReply.m_strError.empty();
    }
    for (const cfgserver::TableSchema& oSchema : cfgserver::getSchema())
    {
        const cfgserver::Table& oKept = pKept->m_oStore.getTable(*cfgserver::findTable(oSchema.m_strName));
        require(!bCommitted || oSchema.m_bVolatile || pKept->m_oDatabase.load(oSchema).holdsSame(oKept));
    }
}
