#ifndef BENCH_COUNTED_H
#define BENCH_COUNTED_H

#include <string>

#ifdef __arm__
#include <fstream>
#include <iostream>
#else
#include <valgrind/callgrind.h>
#endif

#ifdef __arm__

/// What the log of the emulator is searched for: what is run between the two is counted.
extern "C" [[gnu::noinline]] inline void instructions_begin()
{
    asm volatile("" ::: "memory");
}
extern "C" [[gnu::noinline]] inline void instructions_end()
{
    asm volatile("" ::: "memory");
}

/// Where what is mapped, and then the title of what is counted, a line each.
inline void tellCounted(const std::string& title)
{
    std::ifstream maps("/proc/self/maps");
    std::cout << maps.rdbuf() << "counted " << title << std::endl;
}

#endif

/// Has script/instructions count what a call costs, in the steady state: a number of calls is made before. Only what the
/// calling thread does is counted. Nothing is counted where the program does not run under callgrind or, built for the
/// unit's processor, by the emulator.
/// @param name   of the figure: no blanks
/// @param calls  that are counted, and made before; 1 or more
template <class Call>
void counted(const std::string& name, int calls, Call&& call)
{
    const std::string title = name + " " + std::to_string(calls);
    for (int i = 0; i < calls; ++i) call();
#ifdef __arm__
    tellCounted(title);
    instructions_begin();
    for (int i = 0; i < calls; ++i) call();
    instructions_end();
#else
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_TOGGLE_COLLECT;
    for (int i = 0; i < calls; ++i) call();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(title.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
#endif
}

#endif
