#ifndef LAB_CTL_CHECK_CONFIGTEXT_H
#define LAB_CTL_CHECK_CONFIGTEXT_H

#include "lab/ctl/check/Findings.h"

#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// A parameter of a container as it stands in the file.
struct ConfigKey {
    std::string name;
    std::string text;  ///< empty: it counts as missing
    int line = 0;
};

struct ConfigContainer {
    std::string type;  ///< name of the element
    std::string name;  ///< empty: it can't be found
    int line = 0;
    std::vector<ConfigKey> keys;

    /// The parameter that the service reads under this name, the first; null if there is none.
    const ConfigKey* find(const std::string& key) const;

    /// Its text; empty if it has none.
    std::string textOf(const std::string& key) const;
};

/// A configuration file with the lines of what is in it. A value.
struct ConfigText {
    std::vector<ConfigContainer> containers;  // in the order of the file

    /// The container that the service finds under this name; null if there is none.
    const ConfigContainer* find(const std::string& key) const;
};

/// Begins the file, reads it and adds what is wrong whatever the file is for; none if the service couldn't read it
/// either, which is a failure then.
/// @param isByName  containers are found by their names; otherwise they are stepped through, and names mean nothing
std::optional<ConfigText> readConfigText(const std::string& path, Findings& findings, bool isByName = true);

/// Begins the file and looks whether it is XML as other readers have it, too: the place of an error, and elements with
/// so many attributes that reading takes long.
/// @return false, with a failure added, if it can't be read as a file
bool checkXml(const std::string& path, Findings& findings);

}  // namespace orvanectl

#endif
