// Opening and reading all connections of a file, beside the load of the file alone, in one run: how the cost grows with
// the number of connections.
//
//     bench_configuration [ROUNDS]

#include "bench/Figure.h"
#include "bench/face/ConnectionsFile.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

template <class Work>
double microseconds(Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 31;
    for (const int connections : {11, 100, 500, 1000}) {
        const std::string path = fileOf(connections);
        const auto names = namesOf(connections);
        std::vector<double> bare, ours;
        for (int round = 0; round < rounds; ++round) {
            bare.push_back(microseconds([&] { loadAlone(path); }));
            ours.push_back(microseconds([&] { openAll(path, names); }));
        }
        tellFigure("configuration." + std::to_string(connections), "floor", "us", median(bare));
        tellFigure("configuration." + std::to_string(connections), "ours", "us", median(ours));
        ::unlink(path.c_str());
    }
}
