#ifndef LAB_CTL_RECORD_CATALOGUESCHEMA_H
#define LAB_CTL_RECORD_CATALOGUESCHEMA_H

#include <string>
#include <string_view>

namespace orvanectl {

/// A record's type and all that it is made of, as one file of IDL that includes none: what a viewer of others needs to
/// read its records. Pure function, any thread.
/// @param type  such as "EventLog". Throws `std::runtime_error` for one that the catalogue has not.
std::string schemaTextOf(std::string_view type);

}  // namespace orvanectl

#endif
