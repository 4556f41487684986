#ifndef RELIABILITY_TORTURE_TRIAL_H
#define RELIABILITY_TORTURE_TRIAL_H

#include "reliability/torture/Facts.h"

namespace torture {

/// Has the service live on the unit of this process, from its start through work of each kind to its end, with a call of
/// it failing, and tells what was seen. Nothing is waited for longer than 30 s.
Facts perform(const Point& point);

}  // namespace torture

#endif
