#pragma once

namespace quorvad
{

/// The release, as the command line prints it and as providers see it. The one place it is set is the project's version
/// in the top CMakeLists.txt.
inline constexpr char g_acVersion[] = QUORVAD_VERSION;
inline constexpr char g_acUserAgent[] = "quorvad/" QUORVAD_VERSION;

} // namespace quorvad
