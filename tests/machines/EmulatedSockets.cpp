// Loaded into programs that the emulator runs. It knows no IP_MULTICAST_IF, without which the DDS library has no way out
// by UDP. What it refuses is passed over: the kernel then sends by the device of the address that the socket is bound to,
// which is the one that was asked for.

#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" int setsockopt(int socket, int level, int name, const void* value, socklen_t size) noexcept
{
    const long result = syscall(SYS_setsockopt, socket, level, name, value, size);
    if (result < 0 && errno == ENOPROTOOPT && level == IPPROTO_IP && name == IP_MULTICAST_IF) return 0;
    return static_cast<int>(result);
}
