#include "korrin/net/eventdispatcher.h"

#include "platform/base/eventloop.h"

#include <algorithm>
#include <climits>

namespace korrin::net
{

EventDispatcher::EventDispatcher() : m_pLoop(std::make_unique<platform::EventLoop>())
{
}

EventDispatcher::~EventDispatcher() = default;

void EventDispatcher::handleEvents(unsigned int a_uiMilliseconds)
{
    m_pLoop->wait(static_cast<int>(std::min<unsigned int>(a_uiMilliseconds, INT_MAX)));
}

void EventDispatcher::wakeUp() noexcept
{
    m_pLoop->wakeUp();
}

platform::EventLoop& EventDispatcher::getEventLoop()
{
    return *m_pLoop;
}

} // namespace korrin::net
