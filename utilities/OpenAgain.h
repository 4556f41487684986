#ifndef UTILITIES_OPENAGAIN_H
#define UTILITIES_OPENAGAIN_H

/// Opens the pipe or terminal behind a descriptor once more, so that reads and writes there never wait. The flag for
/// that, set on the descriptor itself, would reach everyone who shares it, such as the shell.
/// @param access  O_RDONLY or O_WRONLY
/// @return a descriptor of the caller's own, -1 if it can't be opened: a socket, somebody else's pipe
int openAgain(int descriptor, int access);

#endif
