#ifndef LAB_CTL_BUSLINK_H
#define LAB_CTL_BUSLINK_H

#include "lab/ctl/LineSocket.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace orvanectl {

/// A connection to the bus of the lab: JSON objects, one a line (docs/lab/bus.md). One thread at a time.
class BusLink {
public:
    using Json = nlohmann::ordered_json;

    /// Throws `std::runtime_error`.
    explicit BusLink(const std::string& path) : m_lines(path, "bus") {}

    /// Throws `std::runtime_error` when the bus is gone.
    void send(const Json& request);

    /// As `LineSocket` has them.
    std::optional<std::string> nextLine() { return m_lines.nextLine(); }
    std::optional<std::string> arrivedLine() { return m_lines.arrivedLine(); }
    bool isClosed() const { return m_lines.isClosed(); }
    int descriptor() const { return m_lines.descriptor(); }

    /// The answer to a request. Throws `std::runtime_error` when none comes.
    /// @param onTold  gets each line of what the service tells within the request's call-back; other lines are passed
    ///                over
    Json ask(Json request, const std::function<void(const Json&)>& onTold = {});

private:
    LineSocket m_lines;
};

/// A line of the bus for people: what it is and the values that matter most, without an end.
std::string busSummary(const BusLink::Json& line);

/// The result of a built-in test, or of a sensor in it, by its member `status`: "passed"; "status 7" for what is none.
std::string testStatusText(const BusLink::Json& row);

}  // namespace orvanectl

#endif
