#include "reliability/load/Scenes.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

// Loads the service as it is shipped with more than a unit ever sends it.
//
//     tests/support/unit reliability_load [--short] [SCENE...]

namespace fs = std::filesystem;

namespace {

using Scene = void (*)(Report&, bool isShort);
const std::vector<std::pair<std::string, Scene>> kScenes = {{"rates", Scenes::rates},       {"events", Scenes::events},
                                                            {"clients", Scenes::clients},   {"topics", Scenes::topics},
                                                            {"handlers", Scenes::handlers}, {"orders", Scenes::orders}};

/// Each scene finds the unit as it was in the beginning.
void restore(const fs::path& configuration)
{
    fs::copy(configuration, "/opt/halvex/config", fs::copy_options::overwrite_existing | fs::copy_options::recursive);
    fs::remove("/tmp/PostComplete");
}

}  // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    Report report("load", std::cout);
    std::vector<std::string> wanted;
    bool isShort = false;
    for (const std::string& word : words) {
        if (word == "--short") {
            isShort = true;
        } else if (std::ranges::any_of(kScenes, [&](const auto& scene) { return scene.first == word; })) {
            wanted.push_back(word);
        } else {
            std::cerr << "reliability_load: " << word << ": no such scene\n";
            return 2;
        }
    }
    const TemporaryDirectory saved;
    try {
        fs::copy("/opt/halvex/config", saved.path() / "config", fs::copy_options::recursive);
        for (const auto& [name, scene] : kScenes) {
            if (!wanted.empty() && !std::ranges::count(wanted, name)) continue;
            const auto begin = std::chrono::steady_clock::now();
            try {
                scene(report, isShort);
            } catch (const std::exception& error) {
                report.broken(name + ": " + error.what());
            }
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
            report.figure(name + " took", time.count(), "s");
            restore(saved.path() / "config");
        }
    } catch (const std::exception& error) {
        std::cerr << "reliability_load: " << error.what() << '\n';
        return 1;
    }
    return report.status();
}
