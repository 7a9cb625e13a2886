#pragma once

namespace vadro::basic
{

template<typename T, typename Mutex>
class SingletonAdapter
{
public:
    static T& instance()
    {
        static T s_oInstance; // the language orders the creation; Mutex is for kits whose compiler doesn't
        return s_oInstance;
    }
};

} // namespace vadro::basic
