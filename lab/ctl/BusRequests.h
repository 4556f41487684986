#ifndef LAB_CTL_BUSREQUESTS_H
#define LAB_CTL_BUSREQUESTS_H

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace orvanectl {

/// The requests that the bus knows, as subcommands of a command line, each of its own name. One thread at a time.
class BusRequests {
public:
    using Json = nlohmann::ordered_json;

    /// @param bus     gets the subcommands; must outlive this
    /// @param folder  of files that are named without one
    explicit BusRequests(CLI::App& bus, const std::filesystem::path& folder = {});
    ~BusRequests();
    BusRequests(const BusRequests&) = delete;
    BusRequests& operator=(const BusRequests&) = delete;

    /// The request of the subcommand that was parsed, without an id; null if it was none of these. Throws
    /// `std::runtime_error` when a file that it names can't be read.
    Json parsed() const;

    /// What is told is wanted as it comes.
    bool wantsJson() const;

private:
    struct Options;
    using Body = std::function<Json(const Options&)>;

    CLI::App& add(const char* name, const char* what, const char* example, Body body);
    CLI::App& addPlain(const char* name, const char* what);
    CLI::App& telling(CLI::App& command);
    void addBuiltInTests();
    void addForTests();

    CLI::App& m_bus;
    std::unique_ptr<Options> m_options;
    std::vector<std::pair<CLI::App*, Body>> m_commands;
};

/// The request that words such as "clear-data", "all" make. Throws `std::invalid_argument` for words that make none.
/// @param folder  of files that are named without one
BusRequests::Json busRequestOf(std::vector<std::string> words, const std::filesystem::path& folder = {});

}  // namespace orvanectl

#endif
