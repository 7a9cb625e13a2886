#include "scheduler/random.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>

namespace quorvad
{

namespace
{

struct FileCloser
{
    void operator()(std::FILE* a_pFile) const { std::fclose(a_pFile); }
};

// Unbuffered, so that only four bytes are read; the kernel never interrupts so short a read.
std::uint32_t readSeed(const char* a_pDevice)
{
    std::uint32_t uiSeed = 0;
    const std::unique_ptr<std::FILE, FileCloser> pFile(std::fopen(a_pDevice, "rb"));
    if (!pFile || std::setvbuf(pFile.get(), nullptr, _IONBF, 0) != 0 ||
        std::fread(&uiSeed, sizeof(uiSeed), 1, pFile.get()) != 1)
    {
        throw std::runtime_error("random_device::random_device(const std::string&)");
    }
    return uiSeed;
}

} // namespace

// The standard library's distribution is not used: its mapping to a range differs between implementations.
unsigned int detail::getRandomUint(const char* a_pDevice, unsigned int a_uiMax)
{
    std::mt19937 oEngine(readSeed(a_pDevice));
    const auto draw = [&oEngine] { return static_cast<std::uint32_t>(oEngine()); };
    if (a_uiMax == 0)
    {
        return draw() + 1U;
    }
    const std::uint32_t uiScaling = UINT32_MAX / a_uiMax;
    const std::uint32_t uiLimit = a_uiMax * uiScaling;
    std::uint32_t uiOutput = draw();
    while (uiOutput >= uiLimit)
    {
        uiOutput = draw();
    }
    return uiOutput / uiScaling + 1U;
}

unsigned int getRandomUint(unsigned int a_uiMax)
{
    return detail::getRandomUint("/dev/urandom", a_uiMax);
}

} // namespace quorvad
