#include "tests/support/ServiceConfig.h"

#include <algorithm>
#include <stdexcept>

ServiceConfig::ServiceConfig()
    : m_sections{{"Halvex", {{"System", "KOLT"}, {"Configuration", "Desk"}}},
                 {"OrvaneServer",
                  {{"Connections", "connections.xml"},
                   {"IODevices", "devices.xml"},
                   {"Debug", "false"},
                   {"PRI", "0"},
                   {"CPU", "0"},
                   {"PARAM_1", "true"},
                   {"PARAM_2", "false"},
                   {"PARAM_3", "1"},
                   {"PARAM_4", "2"},
                   {"PARAM_5", "3,4"},
                   {"PARAM_6", "5"},
                   {"PARAM_7", "6"},
                   {"PARAM_8", "10,3600"},
                   {"PARAM_9", "30"}}}}
{}

ServiceConfig& ServiceConfig::set(const std::string& key, const std::string& text)
{
    Section& section = m_sections.at("OrvaneServer");
    const auto entry = std::ranges::find(section, key, &Section::value_type::first);
    if (entry == section.end()) throw std::logic_error("no key " + key);
    entry->second = text;
    return *this;
}

ServiceConfig& ServiceConfig::remove(const std::string& key)
{
    removeKey(m_sections.at("OrvaneServer"), key);
    return *this;
}

ServiceConfig& ServiceConfig::removeFromUnit(const std::string& key)
{
    removeKey(m_sections.at("Halvex"), key);
    return *this;
}

ServiceConfig& ServiceConfig::removeSection(const std::string& name)
{
    if (m_sections.erase(name) != 1) throw std::logic_error("no section " + name);
    return *this;
}

void ServiceConfig::removeKey(Section& section, const std::string& key)
{
    if (std::erase_if(section, [&](const auto& entry) { return entry.first == key; }) != 1)
        throw std::logic_error("no key " + key);
}

std::string ServiceConfig::text() const
{
    std::string text = "<HX_Configurations>\n";
    for (const auto& [name, section] : m_sections) {
        text += "  <Section>\n    <Name>" + name + "</Name>\n    <Parameters>\n";
        for (const auto& [key, value] : section) text += "      <" + key + ">" + value + "</" + key + ">\n";
        text += "    </Parameters>\n  </Section>\n";
    }
    return text + "</HX_Configurations>\n";
}
