#ifndef LAB_CTL_COUNTED_H
#define LAB_CTL_COUNTED_H

#include <cstdint>
#include <string>

namespace orvanectl {

/// "1 message", "2 messages".
inline std::string counted(std::uint64_t count, const char* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

}  // namespace orvanectl

#endif
