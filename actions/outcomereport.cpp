#include "actions/outcomereport.h"

#include "config/configobjects.h"
#include "korrin/valuelist.h"
#include "status/statusinfolog.h"
#include "vadro/basic/singletonadapter.h"
#include "vadro/lock/nullmutex.h"

namespace quorvad
{

namespace
{

korrin::Value integer(int a_iValue)
{
    return {korrin::eValueInteger, a_iValue};
}

korrin::Value text(const std::string& a_strValue)
{
    return {korrin::eValueText, a_strValue};
}

} // namespace

void reportOutcome(int a_iDynDnsId, bool a_bSuccess, int a_iResponseCode, const std::string& a_strResponse)
{
    // The objects' own Id plays no role here: the account travels in the column DynDnsId.
    ConfigObject oLog("DynDnsLog", 1);
    ConfigObject oStatus("DynDnsStatus", 1);
    const std::string strTimestamp = currentTimeToIsoFormat();

    korrin::ValueList oLogValues;
    oLogValues.add("DynDnsId", integer(a_iDynDnsId));
    oLogValues.add("Timestamp", text(strTimestamp));
    oLogValues.add("ResponseCode", integer(a_iResponseCode));
    oLogValues.add("Response", text(a_strResponse));
    oLog.updateSnapshot(oLogValues);

    korrin::ValueList oStatusValues;
    oStatusValues.add("DynDnsId", integer(a_iDynDnsId));
    oStatusValues.add("Timestamp", text(strTimestamp));
    oStatusValues.add("Success", integer(a_bSuccess ? 1 : 0));
    oStatus.updateSnapshot(oStatusValues);

    vadro::basic::SingletonAdapter<StatusInfoLog, vadro::lock::NullMutex>::instance().push(oLog, oStatus);
}

} // namespace quorvad
