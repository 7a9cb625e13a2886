#pragma once

namespace platform
{

// For the start of a program, before any other thread exists. A failure changes nothing.

/// Puts /dev/null where a standard descriptor was closed; a socket would get its number otherwise, and what is printed
/// would go to the peer. Reading standard input and writing the other two still fails, as with closed ones.
void occupyStandardDescriptors();

/// From here on no core file of this process is written, neither by the kernel nor by a helper that it would pipe one
/// to, and only root may trace the process: its memory holds passwords and update URLs.
void keepMemoryPrivate();

} // namespace platform
