#pragma once

#include <mutex>

namespace vadro::basic
{

/// The one process-wide instance of T, made with new on first use and deleted at process exit.
///
/// The creation is safe against two threads asking at once, whatever the lock policy (a local static orders it).
template<typename T, typename Mutex>
class SingletonAdapter
{
public:
    static T& instance()
    {
        static Holder s_oHolder;
        return *s_oHolder.m_pInstance;
    }

private:
    struct Holder
    {
        Holder()
        {
            std::lock_guard<Mutex> oLock(m_oMutex);
            m_pInstance = new T;
        }
        ~Holder() { delete m_pInstance; }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

        Mutex m_oMutex;
        T* m_pInstance = nullptr;
    };
};

} // namespace vadro::basic
