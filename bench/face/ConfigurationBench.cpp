// Opening and reading all connections of a file, beside the load of the file alone, in one run: how the cost grows with
// the number of connections. Prints a line for each number: both medians, and the ratio.
//
//     bench_configuration [ROUNDS]

#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"

#include <tinyxml2.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using FACE::RETURN_CODE_TYPE;

std::string nameOf(int connection)
{
    return "PositionVelocityAttitude" + std::to_string(connection);
}

std::string fileOf(int connections)
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

void check(RETURN_CODE_TYPE::Value code)
{
    if (code != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("code " + std::to_string(code));
}

void loadAlone(const std::string& path)
{
    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    if (document.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) throw std::runtime_error("cannot load " + path);
}

void openAll(const std::string& path, int connections)
{
    FACE::HX_Config config;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    config.Initialize(path.c_str(), code);
    check(code);
    for (int i = 0; i < connections; ++i) {
        int handle = -1;
        FACE::String topicType, pubSubType;
        config.Open(nameOf(i).c_str(), handle, code);
        check(code);
        HX_Config_Helpers::Get_String_Parameter(config, handle, "TopicType", topicType, code);
        HX_Config_Helpers::Get_String_Parameter(config, handle, "PubSubType", pubSubType, code);
        check(code);
        config.Close(handle, code);
        check(code);
    }
}

template <class Work>
double microseconds(Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

}  // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 31;
    std::cout << std::fixed << std::setprecision(1);
    for (const int connections : {11, 100, 500, 1000}) {
        const std::string path = fileOf(connections);
        std::vector<double> bare, ours;
        for (int round = 0; round < rounds; ++round) {
            bare.push_back(microseconds([&] { loadAlone(path); }));
            ours.push_back(microseconds([&] { openAll(path, connections); }));
        }
        const double load = median(bare), all = median(ours);
        std::cout << connections << " connections: load alone " << load << " us, opened and read " << all << " us, "
                  << std::setprecision(2) << all / load << " times" << std::setprecision(1) << std::endl;
        ::unlink(path.c_str());
    }
}
