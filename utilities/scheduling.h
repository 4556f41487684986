#ifndef UTILITIES_SCHEDULING_H
#define UTILITIES_SCHEDULING_H

/// Puts the calling thread into the first-in-first-out real-time class; threads that it starts later inherit it.
/// @param priority  clamped to what the system allows, 1 to 99 if it doesn't say
/// @return whether the system accepted it
bool okSetRealtimeProcessPriority(int priority);

/// Binds the calling thread, and threads that it starts later, to one CPU. Afterwards prints a line for each CPU that
/// the thread may run on, whether or not the setting succeeded.
/// @param cpu  counted from 1; outside 1 to 1024 the system is asked for no CPU at all, which it refuses
/// @return whether the system accepted it
bool okSetCpuAffinity(unsigned cpu);

#endif
