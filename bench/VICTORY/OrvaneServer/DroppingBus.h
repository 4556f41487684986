#ifndef BENCH_VICTORY_ORVANESERVER_DROPPINGBUS_H
#define BENCH_VICTORY_ORVANESERVER_DROPPINGBUS_H

#include <cstdint>

/// A bus library that takes every record and drops it. A program that compiles this unit has it in place of the real one.
namespace DroppingBus {

/// Records of Blended Navigation that it was told. One thread at a time.
extern std::int64_t published;

}  // namespace DroppingBus

#endif
