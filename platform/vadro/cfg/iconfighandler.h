#pragma once

#include "vadro/cfg/common/iconfigclient.h"

#include <list>
#include <string>

namespace vadro::cfg
{

/// What a program implements to be told of changed tables. Called on the thread that runs the notification handler.
class IConfigHandler
{
public:
    virtual ~IConfigHandler() = default;

    /// Appends the names of the tables to watch, in the order in which their changes are to be delivered.
    virtual void getTableNames(std::list<std::string>& a_oNames) = 0;
    /// A watched table changed; may call the client. The result is the handler's own; nothing depends on it.
    virtual bool loadFromConfig(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable) = 0;
    /// The connection to the service was lost or is back.
    virtual void onServiceEvent() = 0;
};

} // namespace vadro::cfg
