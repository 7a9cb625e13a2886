#include "actions/action.h"

#include "vadro/sysloglevel.h"

namespace quorvad
{

Action::Action() : m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    VADRO_Sysloglevel_debug(m_iModuleId, "action", __LINE__, "Action");
}

Action::~Action() = default;

std::string Action::getUrl()
{
    return {};
}

} // namespace quorvad
