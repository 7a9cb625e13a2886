#include "netifwatch/dnssources.h"

namespace netifwatch
{

std::optional<DnsSources> askResolved()
{
    return std::nullopt;
}

} // namespace netifwatch
