#ifndef LAB_CTL_RECORD_CATALOGUETEXTS_H
#define LAB_CTL_RECORD_CATALOGUETEXTS_H

#include <span>
#include <string_view>

namespace orvanectl {

/// The files of the message catalogue, in IDL.
std::span<const std::string_view> catalogueTexts();

}  // namespace orvanectl

#endif
