// The one-shot MD5 call is all that is needed of libcrypto, and it does not allocate. It is deprecated since 3.0 in
// favour of a heavier interface; asking for the older one silences the warning here alone.
#define OPENSSL_API_COMPAT 0x10100000L // NOLINT(cppcoreguidelines-macro-usage): read by the library's headers

#include "actions/gnudipprotocol.h"

#include <openssl/md5.h>

namespace quorvad
{

std::string md5Hex(const std::string& a_strText)
{
    constexpr char acDigits[] = "0123456789abcdef";
    unsigned char acDigest[MD5_DIGEST_LENGTH];
    MD5(reinterpret_cast<const unsigned char*>(a_strText.data()), a_strText.size(), acDigest);
    std::string strHex;
    for (const unsigned char uiByte : acDigest)
    {
        strHex += acDigits[uiByte >> 4U];
        strHex += acDigits[uiByte & 0x0fU];
    }
    return strHex;
}

std::string makeHashInput(const std::string& a_strPassword, const std::string& a_strSalt)
{
    return md5Hex(a_strPassword) + "." + a_strSalt;
}

} // namespace quorvad
