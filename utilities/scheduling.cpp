#include "utilities/scheduling.h"

#include <algorithm>
#include <iostream>
#include <sched.h>
#include <string>

bool okSetRealtimeProcessPriority(int priority)
{
    const int least = sched_get_priority_min(SCHED_FIFO);
    const int greatest = sched_get_priority_max(SCHED_FIFO);
    sched_param parameters = {};
    parameters.sched_priority = std::max(priority, least == -1 ? 1 : least);
    parameters.sched_priority = std::min(parameters.sched_priority, greatest == -1 ? 99 : greatest);
    return sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
}

bool okSetCpuAffinity(unsigned cpu)
{
    static_assert(CPU_SETSIZE == 1024);
    cpu_set_t mask;
    CPU_ZERO(&mask);
    if (cpu >= 1 && cpu <= CPU_SETSIZE) CPU_SET(cpu - 1, &mask);
    const bool set = sched_setaffinity(0, sizeof mask, &mask) == 0;
    if (sched_getaffinity(0, sizeof mask, &mask) == 0)
        for (unsigned bit = 0; bit < CPU_SETSIZE; ++bit)
            if (CPU_ISSET(bit, &mask)) std::cout << "Has CPU Affinity for CPU" + std::to_string(bit + 1) + "\n";
    return set;
}
