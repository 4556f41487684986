#ifndef TESTS_MACHINES_DUMP_H
#define TESTS_MACHINES_DUMP_H

#include <string>

/// What must be the same on every machine that the service is built for, a fact a line: sizes of records, bytes that
/// travel, texts, and results of arithmetic, to the last bit but where mathematical functions of the C library come in.
std::string dumpOfMachine();

#endif
