#include "fuse.h"

#include <cstdlib>
#include <limits>
#include <new>
#include <sqlite3.h>

namespace
{

constexpr int s_iOff = std::numeric_limits<int>::max();

thread_local int s_iLeft = s_iOff;
thread_local bool s_bRest = false;

bool blows()
{
    return s_iLeft != s_iOff && --s_iLeft <= 0 && (s_iLeft == 0 || s_bRest);
}

sqlite3_mem_methods g_oSqlite;

void* allocate(int a_iSize)
{
    return blows() ? nullptr : g_oSqlite.xMalloc(a_iSize);
}

void* reallocate(void* a_pOld, int a_iSize)
{
    return blows() ? nullptr : g_oSqlite.xRealloc(a_pOld, a_iSize);
}

[[maybe_unused]] const bool g_bInstalled = []
{
    ::sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_oSqlite);
    sqlite3_mem_methods oFused = g_oSqlite;
    oFused.xMalloc = allocate;
    oFused.xRealloc = reallocate;
    return ::sqlite3_config(SQLITE_CONFIG_MALLOC, &oFused) == SQLITE_OK;
}();

} // namespace

void* operator new(std::size_t a_uiSize)
{
    void* pBytes = blows() ? nullptr : std::malloc(a_uiSize);
    if (pBytes == nullptr)
    {
        throw std::bad_alloc();
    }
    return pBytes;
}

void operator delete(void* a_pBytes) noexcept
{
    std::free(a_pBytes);
}

void operator delete(void* a_pBytes, std::size_t) noexcept
{
    std::free(a_pBytes);
}

Fuse::Fuse(int a_iFirst, bool a_bRest)
{
    s_iLeft = a_iFirst;
    s_bRest = a_bRest;
}

Fuse::~Fuse()
{
    s_iLeft = s_iOff;
}

int Fuse::getLeft()
{
    return s_iLeft;
}
