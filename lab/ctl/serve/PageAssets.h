#ifndef LAB_CTL_SERVE_PAGEASSETS_H
#define LAB_CTL_SERVE_PAGEASSETS_H

#include <span>
#include <string_view>

namespace orvanectl {

/// A file of the page, as it stood when this was built.
struct PageAsset {
    std::string_view name;  ///< "page.css"
    std::string_view type;  ///< of its content
    std::string_view text;
};

/// All of them; any thread.
std::span<const PageAsset> pageAssets();

}  // namespace orvanectl

#endif
