#include "actions/libwrapper.h"

#include "actions/error.h"
#include "platform/common/log.h"

#include <ares.h>
#include <curl/curl.h>

namespace quorvad
{

constexpr char s_acLogFile[] = "libwrapper";

LibWrapper::LibWrapper() : m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    const int iAres = ares_library_init(ARES_LIB_INIT_ALL);
    if (iAres != ARES_SUCCESS)
    {
        LOG_ERROR("ares_library_init failed: %s", ares_strerror(iAres));
        throw Error(Error::AresLibInitFailed);
    }
    const CURLcode eCurl = curl_global_init(CURL_GLOBAL_ALL);
    if (eCurl != CURLE_OK)
    {
        LOG_ERROR("curl_global_init failed: %s", curl_easy_strerror(eCurl));
        throw Error(Error::CurlGlobalInitFailed);
    }
}

LibWrapper::~LibWrapper()
{
    curl_global_cleanup();
    ares_library_cleanup();
}

} // namespace quorvad
