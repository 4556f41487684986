// Prints what must be the same on every machine: tests/machines/dump.txt is kept so.

#include "tests/machines/Dump.h"

#include <cstdio>

int main()
{
    return std::fputs(dumpOfMachine().c_str(), stdout) < 0 ? 1 : 0;
}
