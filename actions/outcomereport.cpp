#include "actions/outcomereport.h"

#include "config/configobjects.h"
#include "config/schema.h"
#include "korrin/valuelist.h"
#include "platform/common/values.h"
#include "status/statusinfolog.h"
#include "vadro/basic/singletonadapter.h"
#include "vadro/lock/nullmutex.h"

namespace quorvad
{

using platform::integer;
using platform::text;

void reportOutcome(int a_iDynDnsId, bool a_bSuccess, int a_iResponseCode, const std::string& a_strResponse)
{
    // The objects' own Id does not matter here: column DynDnsId names the account.
    ConfigObject oLog(dbm::Table_DynDnsLog, 1);
    ConfigObject oStatus(dbm::Table_DynDnsStatus, 1);
    const std::string strTimestamp = currentTimeToIsoFormat();

    korrin::ValueList oLogValues;
    oLogValues.add(dbm::DynDnsLog_DynDnsId, integer(a_iDynDnsId));
    oLogValues.add(dbm::DynDnsLog_Timestamp, text(strTimestamp));
    oLogValues.add(dbm::DynDnsLog_ResponseCode, integer(a_iResponseCode));
    oLogValues.add(dbm::DynDnsLog_Response, text(a_strResponse));
    oLog.updateSnapshot(oLogValues);

    korrin::ValueList oStatusValues;
    oStatusValues.add(dbm::DynDnsStatus_DynDnsId, integer(a_iDynDnsId));
    oStatusValues.add(dbm::DynDnsStatus_Timestamp, text(strTimestamp));
    oStatusValues.add(dbm::DynDnsStatus_Success, integer(a_bSuccess ? 1 : 0));
    oStatus.updateSnapshot(oStatusValues);

    vadro::basic::SingletonAdapter<StatusInfoLog, vadro::lock::NullMutex>::instance().push(oLog, oStatus);
}

} // namespace quorvad
