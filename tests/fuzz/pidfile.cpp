#include "platform/base/pidfile.h"
#include "tests/fuzz/fuzz.h"

void fuzz(std::string_view a_strInput)
{
    const auto oPid = platform::parsePid(a_strInput);
    require(!oPid || (*oPid > 0 && std::to_string(*oPid) + "\n" == a_strInput));
}
