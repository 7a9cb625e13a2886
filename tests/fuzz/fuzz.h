#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

/// One per program: has a decoder eat bytes from outside. What must not happen ends the process.
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
