#include "resolver/channeltemplate.h"

// libcurl makes a channel for every handle, and one more for every transfer, each with ares_init_options. The linker
// (--wrap) leads the calls of a static libcurl here. Without it, or with a shared libcurl, the transfers work as well.

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming): the linker's
// names
extern "C"
{
    int __real_ares_init_options(ares_channel* a_ppChannel, ares_options* a_pOptions, int a_iMask);

    int __wrap_ares_init_options(ares_channel* a_ppChannel, ares_options* a_pOptions, int a_iMask)
    {
        if (a_iMask != ARES_OPT_SOCK_STATE_CB) // not libcurl's
        {
            return __real_ares_init_options(a_ppChannel, a_pOptions, a_iMask);
        }
        return quorvad::ChannelTemplate::shared().make(
            a_ppChannel, a_pOptions->sock_state_cb, a_pOptions->sock_state_cb_data);
    }
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
