#include "platform/client/backoff.h"

#include <algorithm>

namespace vadro::cfg
{

Backoff::Backoff(std::chrono::milliseconds a_oFirst, std::chrono::milliseconds a_oMost)
    : m_oFirst(std::max(a_oFirst, std::chrono::milliseconds(10))), m_oMost(std::max(a_oMost, m_oFirst)),
      m_oNext(m_oFirst)
{
}

std::chrono::milliseconds Backoff::take()
{
    const std::chrono::milliseconds oNow = m_oNext;
    m_oNext = std::min(m_oNext * 2, m_oMost);
    return oNow;
}

} // namespace vadro::cfg
