#include "actions/receivelimit.h"

#include "platform/common/deadline.h"

#include <cerrno>
#include <optional>
#include <sys/socket.h>

namespace quorvad
{

namespace
{

thread_local std::optional<platform::Deadline> t_oEnd;

} // namespace

ReceiveLimit::ReceiveLimit(std::chrono::milliseconds a_oFromNow)
{
    t_oEnd.emplace(a_oFromNow);
}

ReceiveLimit::~ReceiveLimit()
{
    t_oEnd.reset();
}

} // namespace quorvad

// The linker sends every call of recv() to __wrap_recv (--wrap=recv in CMakeLists.txt).
extern "C"
{
    ssize_t __real_recv(int a_iSocket, void* a_pBytes, std::size_t a_uiSize, int a_iFlags);
    ssize_t __wrap_recv(int a_iSocket, void* a_pBytes, std::size_t a_uiSize, int a_iFlags);
}

ssize_t __wrap_recv(int a_iSocket, void* a_pBytes, std::size_t a_uiSize, int a_iFlags)
{
    if (quorvad::t_oEnd && quorvad::t_oEnd->hasPassed())
    {
        errno = EAGAIN;
        return -1;
    }
    return __real_recv(a_iSocket, a_pBytes, a_uiSize, a_iFlags);
}
