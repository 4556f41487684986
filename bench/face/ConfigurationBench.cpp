// Opening and reading all connections of a file, beside the load of the file alone, in one run: how the cost grows with
// the number of connections. Prints a line for each number: both medians, and the ratio.
//
//     bench_configuration [ROUNDS]

#include "bench/face/ConnectionsFile.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iomanip>
#include <iostream>
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
        const auto names = namesOf(connections);
        std::vector<double> bare, ours;
        for (int round = 0; round < rounds; ++round) {
            bare.push_back(microseconds([&] { loadAlone(path); }));
            ours.push_back(microseconds([&] { openAll(path, names); }));
        }
        const double load = median(bare), all = median(ours);
        std::cout << connections << " connections: load alone " << load << " us, opened and read " << all << " us, "
                  << std::setprecision(2) << all / load << " times" << std::setprecision(1) << std::endl;
        ::unlink(path.c_str());
    }
}
