#ifndef LAB_CTL_DECODEFORMATS_H
#define LAB_CTL_DECODEFORMATS_H

#include <string>
#include <vector>

namespace orvanectl {

/// What bytes may be taken as when they are decoded.
inline std::vector<std::string> decodeFormats()
{
    return {"auto", "records", "frames"};
}

}  // namespace orvanectl

#endif
