#pragma once

#include "vadro/cfg/common/iconfigclient.h"

#include <list>
#include <string>

namespace vadro::cfg
{

/// The daemon's side: which tables it watches, and what it does when one changed.
class IConfigHandler
{
public:
    virtual ~IConfigHandler() = default;
    virtual void getTableNames(std::list<std::string>& a_oNames) = 0;
    virtual bool loadFromConfig(common::IConfigClient& a_oClient, const std::string& a_strTable) = 0;
    virtual void onServiceEvent() = 0;
};

} // namespace vadro::cfg
