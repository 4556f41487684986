#ifndef LAB_LIBVICTORY_REQUESTS_H
#define LAB_LIBVICTORY_REQUESTS_H

#include "lab/libvictory/Bus.h"

#include <string_view>

namespace labvictory {

class Library;

/// Works on a line from a client of the bus and answers it; what needs a call-back is handed to a service, which answers
/// later. A line that is no proper request is answered by what is wrong with it. Only the bus's thread.
void handleLine(Library& library, Bus::ClientId client, std::string_view line) noexcept;

}  // namespace labvictory

#endif
