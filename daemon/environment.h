#pragma once

namespace quorvad
{

/// Removes what could lead requests past the account's interface (the proxy variables) or write session keys to a file
/// (SSLKEYLOGFILE). Before any thread exists.
void cleanEnvironment();

/// Raises the soft limit on open descriptors to the hard one: every update holds some. A failure changes nothing.
void raiseDescriptorLimit();

/// Keeps all threads to one heap. Each update runs on a thread of its own and reads the bundle of certificates; heaps
/// of their own would each keep what the largest of them once took. No effect with a C library that knows no such
/// setting.
void useOneHeap();

/// Gives the threads that start from now on stacks of 1 MiB instead of the system's, usually 8 MiB: a thousand of those
/// don't fit the address space of a 32-bit machine. Not less, though an update was seen to use a tenth: the C library
/// keeps 40 MiB of stacks for later threads, each with a few pages of memory, so smaller ones are more of them. No
/// effect with a C library that knows no such setting.
void useSmallStacks();

/// Gives what is free in the heap back to the system. No effect with a C library that can't.
void returnFreeMemory();

} // namespace quorvad
