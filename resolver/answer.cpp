#include "resolver/answer.h"

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
addrinfo* makeBlock(int a_iFamily, Address a_oAddress)
{
    void* pMemory = std::calloc(1, sizeof(Block<Address>));
    if (pMemory == nullptr)
    {
        return nullptr;
    }
    auto* pBlock = new (pMemory) Block<Address>{{}, a_oAddress};
    pBlock->m_oInfo.ai_family = a_iFamily;
    pBlock->m_oInfo.ai_addrlen = sizeof(Address);
    pBlock->m_oInfo.ai_addr = reinterpret_cast<sockaddr*>(&pBlock->m_oAddress);
    return &pBlock->m_oInfo;
}

addrinfo* makeEntry(int a_iFamily, const char* a_pBytes)
{
    if (a_iFamily == AF_INET6)
    {
        sockaddr_in6 oAddress = {};
        oAddress.sin6_family = AF_INET6;
        std::memcpy(&oAddress.sin6_addr, a_pBytes, sizeof(in6_addr));
        return makeBlock(AF_INET6, oAddress);
    }
    sockaddr_in oAddress = {};
    oAddress.sin_family = AF_INET;
    std::memcpy(&oAddress.sin_addr, a_pBytes, sizeof(in_addr));
    return makeBlock(AF_INET, oAddress);
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
                freeaddrinfo(a_pList); // not every libc accepts null
                a_pList = nullptr;
            }
            return ARES_ENOMEM;
        }
        ppTail = &(*ppTail)->ai_next;
    }
    return ARES_SUCCESS;
}

int toGetaddrinfoCode(int a_iAresStatus)
{
    switch (a_iAresStatus)
    {
    case ARES_ENODATA:
    case ARES_ENOTFOUND:
    case ARES_EBADNAME:
        return EAI_NONAME;
    case ARES_ENOTIMP:
        return EAI_FAMILY;
    case ARES_ENOMEM:
        return EAI_MEMORY;
    case ARES_EDESTRUCTION:
        return EAI_FAIL;
    default:
        return EAI_SYSTEM;
    }
}

} // namespace quorvad
