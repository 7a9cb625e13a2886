#pragma once

namespace quorvad
{

/// The release, as the command line prints it and as providers see it. Set by the project's version in the top
/// CMakeLists.txt alone.
inline constexpr char g_acVersion[] = QUORVAD_VERSION;
inline constexpr char g_acUserAgent[] = "quorvad/" QUORVAD_VERSION;

} // namespace quorvad
