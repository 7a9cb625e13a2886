#include "actions/action.h"

#include "platform/common/log.h"

namespace quorvad
{

constexpr char s_acLogFile[] = "action";

Action::Action() : m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    LOG_DEBUG("Action");
}

Action::~Action() = default;

std::string Action::getUrl()
{
    return {};
}

} // namespace quorvad
