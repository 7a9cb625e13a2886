// Checks, without any traffic, that the libcurl at hand has what the daemon needs. Prints what is missing; status 0 if
// nothing is.
#include <cstdio>
#include <cstring>
#include <curl/curl.h>

namespace
{
bool failed(const char* a_strWhat, CURLcode a_eCode, CURLcode a_eWanted)
{
    if (a_eCode == a_eWanted)
    {
        return false;
    }
    std::printf("%s answers %d (%s), not %d.\n", a_strWhat, a_eCode, curl_easy_strerror(a_eCode), a_eWanted);
    return true;
}

bool missesFeature(const char* a_strWhat, const void* a_pPresent)
{
    if (a_pPresent == nullptr)
    {
        std::printf("it was built without %s.\n", a_strWhat);
    }
    return a_pPresent == nullptr;
}
} // namespace

int main()
{
    if (curl_global_init(CURL_GLOBAL_ALL) != CURLE_OK)
    {
        std::puts("curl_global_init() fails.");
        return 1;
    }
    CURL* pCurl = curl_easy_init();
    if (pCurl == nullptr)
    {
        std::puts("curl_easy_init() fails.");
        return 1;
    }
    const curl_version_info_data* pInfo = curl_version_info(CURLVERSION_NOW);
    bool bBad = missesFeature("c-ares", pInfo->ares);
    bBad |= missesFeature("TLS", pInfo->ssl_version);
    bBad |=
        failed("CURLOPT_DNS_SERVERS", curl_easy_setopt(pCurl, CURLOPT_DNS_SERVERS, "192.0.2.1,2001:db8::1"), CURLE_OK);
    bBad |= failed("CURLOPT_DNS_INTERFACE", curl_easy_setopt(pCurl, CURLOPT_DNS_INTERFACE, "lo"), CURLE_OK);
    curl_easy_setopt(pCurl, CURLOPT_URL, "file:///dev/null");
    bBad |= failed("A transfer of file:///dev/null", curl_easy_perform(pCurl), CURLE_UNSUPPORTED_PROTOCOL);
    // A build without the texts says only "Error" or "No error", and that would be all that the log says.
    if (std::strlen(curl_easy_strerror(CURLE_COULDNT_CONNECT)) < 10)
    {
        std::puts("it was built without its error texts.");
        bBad = true;
    }
    curl_easy_cleanup(pCurl);
    curl_global_cleanup();
    if (!bBad)
    {
        std::printf("%s with c-ares %s and %s", pInfo->version, pInfo->ares, pInfo->ssl_version);
    }
    return bBad ? 1 : 0;
}
