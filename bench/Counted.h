#ifndef BENCH_COUNTED_H
#define BENCH_COUNTED_H

#include <string>
#include <valgrind/callgrind.h>

/// Has script/instructions count what a call costs, in the steady state: a number of calls is made before. Only what the
/// calling thread does is counted. Nothing is counted where the program does not run under callgrind.
/// @param name   of the figure: no blanks
/// @param calls  that are counted, and made before; 1 or more
template <class Call>
void counted(const std::string& name, int calls, Call&& call)
{
    const std::string title = name + " " + std::to_string(calls);
    for (int i = 0; i < calls; ++i) call();
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_TOGGLE_COLLECT;
    for (int i = 0; i < calls; ++i) call();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(title.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
}

#endif
