// What a GnuDIP server sends: a salt, and the answer to the request made from it.
#include "actions/gnudipprotocol.h"
#include "tests/fuzz/fuzz.h"

using namespace quorvad;

void fuzz(std::string_view a_strInput)
{
    const std::string strReceived(a_strInput);
    const std::string strSalt = trimSalt(strReceived);
    require(strReceived.compare(0, strSalt.size(), strSalt) == 0);
    require(strReceived.find_first_not_of("\r\n", strSalt.size()) == std::string::npos);
    require(strSalt.empty() || strSalt.find_last_of("\r\n") + 1 != strSalt.size());
    const std::string strRequest = makeGnudipRequest("u", md5Hex(makeHashInput("p", strSalt)), "u." + strReceived);
    require(strRequest == "u:" + strRequest.substr(2, 32) + ":" + strReceived + ":0");
    int iCode = 4711;
    require(parseGnudipAnswer(strReceived, iCode) == EGnudipAnswer::eCode || iCode == 4711);
    require(*gnudipResponseText(iCode) != '\0');
}
