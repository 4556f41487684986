#ifndef BENCH_FACE_CONNECTIONSFILE_H
#define BENCH_FACE_CONNECTIONSFILE_H

#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"

#include <tinyxml2.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

// A file of many connections, and what is measured with it. What fails is thrown.

inline std::string nameOf(int connection)
{
    return "PositionVelocityAttitude" + std::to_string(connection);
}

/// Writes a file of so many connections, for the caller to remove.
/// @return its path
inline std::string fileOf(int connections)
{
    const std::string path = "/tmp/bench_configuration." + std::to_string(getpid()) + ".xml";
    std::ofstream file(path);
    file << "<HX_Configurations>\n";
    for (int i = 0; i < connections; ++i)
        file << "  <Connection>\n    <Name>" << nameOf(i)
             << "</Name>\n    <Parameters>\n      <TopicType>aspn2_msgs::idl::PositionVelocityAttitude</TopicType>\n"
                "      <PubSubType>PositionVelocityAttitudePubSubType</PubSubType>\n    </Parameters>\n"
                "  </Connection>\n";
    file << "</HX_Configurations>\n";
    return path;
}

inline void check(FACE::RETURN_CODE_TYPE::Value code)
{
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("code " + std::to_string(code));
}

/// The load of the file, without us.
inline void loadAlone(const std::string& path)
{
    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    if (document.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) throw std::runtime_error("cannot load " + path);
}

/// The names of so many connections.
inline std::vector<std::string> namesOf(int connections)
{
    std::vector<std::string> names;
    for (int i = 0; i < connections; ++i) names.push_back(nameOf(i));
    return names;
}

/// Opens, reads and closes every connection of the file by its name.
inline void openAll(const std::string& path, const std::vector<std::string>& names)
{
    FACE::HX_Config config;
    FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NO_ERROR;
    config.Initialize(path.c_str(), code);
    check(code);
    for (const std::string& name : names) {
        int handle = -1;
        FACE::String topicType, pubSubType;
        config.Open(name.c_str(), handle, code);
        check(code);
        HX_Config_Helpers::Get_String_Parameter(config, handle, "TopicType", topicType, code);
        HX_Config_Helpers::Get_String_Parameter(config, handle, "PubSubType", pubSubType, code);
        check(code);
        config.Close(handle, code);
        check(code);
    }
}

#endif
