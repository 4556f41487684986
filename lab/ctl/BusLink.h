#ifndef LAB_CTL_BUSLINK_H
#define LAB_CTL_BUSLINK_H

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace orvanectl {

/// A connection to the bus of the lab: JSON objects, one a line (docs/lab/bus.md). One thread at a time.
class BusLink {
public:
    using Json = nlohmann::ordered_json;

    /// Longest line that is read, in bytes.
    static constexpr std::size_t kLongestLine = 16U * 1024 * 1024;

    /// Throws `std::runtime_error`.
    explicit BusLink(const std::string& path);
    ~BusLink();
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    /// Throws `std::runtime_error` when the bus is gone.
    void send(const Json& request);

    /// The next line without its end, waited for; nothing once the bus has closed. Throws `std::runtime_error` for a line
    /// that is too long, and when reading fails.
    std::optional<std::string> nextLine();

    /// The answer to a request. Throws `std::runtime_error` when none comes.
    /// @param onTold  gets each line of what the service tells within the request's call-back; other lines are passed
    ///                over
    Json ask(Json request, const std::function<void(const Json&)>& onTold = {});

private:
    int m_socket;
    std::string m_input;
};

/// A line of the bus for people: what it is and the values that matter most, without an end.
std::string busSummary(const BusLink::Json& line);

}  // namespace orvanectl

#endif
