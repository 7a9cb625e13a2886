#pragma once

#include "platform/wire/message.h"

#include <list>
#include <string>

namespace vadro::cfg
{

/// What a client says of itself when it comes.
struct Introduction
{
    std::string m_strClientName;
    std::list<std::string> m_oWatched;
    bool m_bNotifyOwnChanges = false;
    bool m_bReadOnly = false;
};

wire::Request makeGreeting(const Introduction& a_oIntroduction);

/// The service's name and version from its answer. Throws LinkError with the service's reason when it refused.
std::string readGreetingReply(const wire::Reply& a_oReply);

} // namespace vadro::cfg
