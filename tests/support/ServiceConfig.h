#ifndef TESTS_SUPPORT_SERVICECONFIG_H
#define TESTS_SUPPORT_SERVICECONFIG_H

#include <map>
#include <string>
#include <utility>
#include <vector>

/// The text of a top-level configuration file that the service accepts, to be varied key by key.
class ServiceConfig {
public:
    ServiceConfig();

    /// Gives a key of the service's section another text.
    ServiceConfig& set(const std::string& key, const std::string& text);

    /// Takes a key out of the service's section.
    ServiceConfig& remove(const std::string& key);

    /// The same for the keys of the unit's section.
    ServiceConfig& removeFromUnit(const std::string& key);

    /// Takes a whole section out: "Halvex" or "OrvaneServer".
    ServiceConfig& removeSection(const std::string& name);

    std::string text() const;

private:
    using Section = std::vector<std::pair<std::string, std::string>>;
    static void removeKey(Section& section, const std::string& key);

    std::map<std::string, Section> m_sections;
};

#endif
