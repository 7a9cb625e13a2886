#include "platform/client/greeting.h"

#include "platform/client/linkerror.h"

namespace vadro::cfg
{

wire::Request makeGreeting(const Introduction& a_oIntroduction)
{
    const auto toFlag = [](bool a_bFlag) { return korrin::Value(korrin::eValueInteger, a_bFlag ? 1 : 0); };
    wire::Request oHello;
    oHello.m_eOperation = wire::Operation::Hello;
    oHello.m_uiNumber = wire::g_uiProtocolVersion;
    oHello.m_strTable = a_oIntroduction.m_strClientName;
    oHello.m_oNames.assign(a_oIntroduction.m_oWatched.begin(), a_oIntroduction.m_oWatched.end());
    oHello.m_oValues.add("NotifyOwnChanges", toFlag(a_oIntroduction.m_bNotifyOwnChanges));
    oHello.m_oValues.add("ReadOnly", toFlag(a_oIntroduction.m_bReadOnly));
    return oHello;
}

std::string readGreetingReply(const wire::Reply& a_oReply)
{
    if (a_oReply.m_eResult != wire::Result::Ok)
    {
        throw LinkError(wire::Result::BadRequest, "it refused this client: " + a_oReply.m_strError);
    }
    if (a_oReply.m_oRows.empty())
    {
        throw LinkError(wire::Result::Garbled, "it did not say what it is");
    }
    const korrin::ValueList& oAbout = a_oReply.m_oRows.front();
    return oAbout.getValue("Service").getText() + " " + oAbout.getValue("Version").getText();
}

} // namespace vadro::cfg
