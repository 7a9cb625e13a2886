#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

/// One per program: feeds untrusted bytes to a decoder. A requirement that does not hold aborts.
void fuzz(std::string_view a_strInput);

inline void require(bool a_bHolds)
{
    a_bHolds ? void() : std::abort();
}

/// The entry that libFuzzer calls.
extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const std::uint8_t* a_pData, std::size_t a_uiSize)
{
    fuzz({reinterpret_cast<const char*>(a_pData), a_uiSize});
    return 0;
}
