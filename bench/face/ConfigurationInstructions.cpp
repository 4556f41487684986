// What it takes to open and read all connections of a file, for script/instructions: the load of the file beside it.

#include "bench/Counted.h"
#include "bench/face/ConnectionsFile.h"

#include <string>
#include <unistd.h>

int main()
{
    for (const int connections : {11, 100, 1000}) {
        const std::string path = fileOf(connections);
        const auto names = namesOf(connections);
        counted("configuration.load." + std::to_string(connections), 1, [&] { loadAlone(path); });
        counted("configuration.all." + std::to_string(connections), 1, [&] { openAll(path, names); });
        ::unlink(path.c_str());
    }
}
