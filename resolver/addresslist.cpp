#include "resolver/addresslist.h"

#include <ares.h>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <new>

namespace quorvad
{

namespace
{

/// One list entry with room for its address, freed as a whole through its first member.
template<typename Address>
struct Block
{
    addrinfo m_oInfo;
    Address m_oAddress;
};

template<typename Address>
Block<Address>* makeBlock(int a_iFamily)
{
    void* pMemory = std::calloc(1, sizeof(Block<Address>));
    if (pMemory == nullptr)
    {
        return nullptr;
    }
    auto* pBlock = new (pMemory) Block<Address>{};
    pBlock->m_oInfo.ai_family = a_iFamily;
    pBlock->m_oInfo.ai_addrlen = sizeof(Address);
    pBlock->m_oInfo.ai_addr = reinterpret_cast<sockaddr*>(&pBlock->m_oAddress);
    return pBlock;
}

addrinfo* makeEntry(int a_iFamily, const char* a_pBytes)
{
    if (a_iFamily == AF_INET6)
    {
        auto* pBlock = makeBlock<sockaddr_in6>(AF_INET6);
        if (pBlock == nullptr)
        {
            return nullptr;
        }
        pBlock->m_oAddress.sin6_family = AF_INET6;
        std::memcpy(&pBlock->m_oAddress.sin6_addr, a_pBytes, sizeof(in6_addr));
        return &pBlock->m_oInfo;
    }
    auto* pBlock = makeBlock<sockaddr_in>(AF_INET);
    if (pBlock == nullptr)
    {
        return nullptr;
    }
    pBlock->m_oAddress.sin_family = AF_INET;
    std::memcpy(&pBlock->m_oAddress.sin_addr, a_pBytes, sizeof(in_addr));
    return &pBlock->m_oInfo;
}

bool hasKnownAddresses(const hostent& a_oHost)
{
    return (a_oHost.h_addrtype == AF_INET && a_oHost.h_length == static_cast<int>(sizeof(in_addr))) ||
           (a_oHost.h_addrtype == AF_INET6 && a_oHost.h_length == static_cast<int>(sizeof(in6_addr)));
}

} // namespace

int makeAddressList(const hostent& a_oHost, addrinfo*& a_pList)
{
    a_pList = nullptr;
    if (!hasKnownAddresses(a_oHost))
    {
        return ARES_EBADFAMILY;
    }
    addrinfo** ppTail = &a_pList;
    for (char** ppAddress = a_oHost.h_addr_list; ppAddress != nullptr && *ppAddress != nullptr; ++ppAddress)
    {
        *ppTail = makeEntry(a_oHost.h_addrtype, *ppAddress);
        if (*ppTail == nullptr)
        {
            if (a_pList != nullptr)
            {
                freeaddrinfo(a_pList); // not every libc takes a null list
                a_pList = nullptr;
            }
            return ARES_ENOMEM;
        }
        ppTail = &(*ppTail)->ai_next;
    }
    return ARES_SUCCESS;
}

} // namespace quorvad
