#pragma once

namespace quorvad
{

/// Removes variables that could divert requests from the account's interface (proxies) or write session keys to a file
/// (SSLKEYLOGFILE). Before any thread exists.
void cleanEnvironment();

/// Raises the soft limit on open descriptors to the hard one, since every update holds some. Failure is ignored.
void raiseDescriptorLimit();

/// Makes all threads share one heap. Each update runs on its own thread and may read the bundle of certificates; with
/// a heap per thread, each would keep its peak. No effect if the C library has no such setting.
void useOneHeap();

/// Gives threads started from now on stacks of 1 MiB instead of the system's default, usually 8 MiB: a thousand of
/// those do not fit the address space of a 32-bit machine. Not less, although an update uses a tenth: the C library
/// caches 40 MiB of stacks, each with a few pages in use, so smaller stacks mean more of them. No effect if the C
/// library has no such setting.
void useSmallStacks();

/// Returns free heap memory to the system. No effect if the C library cannot.
void returnFreeMemory();

} // namespace quorvad
