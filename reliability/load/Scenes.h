#ifndef RELIABILITY_LOAD_SCENES_H
#define RELIABILITY_LOAD_SCENES_H

#include "reliability/Report.h"

/// What the service is loaded with, each alone and on the unit that this process runs on. Each starts the service itself
/// and has it end. `isShort` takes seconds, otherwise it is minutes.
namespace Scenes {

/// Set by set, then every input at 100 and at 1000 times its rate.
void rates(Report& report, bool isShort);

/// A million health events from four threads, by the component that the service sends them with.
void events(Report& report, bool isShort);

/// Sixteen clients of the bus, five of which never read.
void clients(Report& report, bool isShort);

/// Each topic that the service hears, written at 10 kHz.
void topics(Report& report, bool isShort);

/// How long a handler holds the thread that calls it, by the server that the service consists of.
void handlers(Report& report, bool isShort);

/// Orders to sanitize in a flood while the service is asked to end.
void orders(Report& report, bool isShort);

}  // namespace Scenes

#endif
