#include "platform/base/pidfile.h"
#include "fuzz/fuzz.h"

void fuzz(std::string_view a_strInput)
{
    const auto oPid = vadro::base::parsePid(a_strInput);
    require(!oPid || (*oPid > 0 && std::to_string(*oPid) + "\n" == a_strInput));
}
