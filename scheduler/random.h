#pragma once

namespace quorvad
{

/// A random integer from 1 to a_uiMax, both included, each equally likely; any 32-bit value for 0. Any thread.
/// Throws std::runtime_error if the random device cannot be read.
[[nodiscard]] unsigned int getRandomUint(unsigned int a_uiMax);

namespace detail
{

/// The same, seeded from the file a_pDevice.
[[nodiscard]] unsigned int getRandomUint(const char* a_pDevice, unsigned int a_uiMax);

} // namespace detail

} // namespace quorvad
