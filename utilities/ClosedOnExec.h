#ifndef UTILITIES_CLOSEDONEXEC_H
#define UTILITIES_CLOSEDONEXEC_H

#include <fcntl.h>

/// Keeps a descriptor from the programs that this process, or a library in it, may start; for devices, which are opened
/// with their own flags and no others. Any thread.
/// @param descriptor  -1, for one that could not be opened, passes through and leaves `errno`
/// @return the descriptor
inline int closedOnExec(int descriptor)
{
    if (descriptor != -1) static_cast<void>(::fcntl(descriptor, F_SETFD, FD_CLOEXEC));
    return descriptor;
}

#endif
