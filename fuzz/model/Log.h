#ifndef FUZZ_MODEL_LOG_H
#define FUZZ_MODEL_LOG_H

#include <string>
#include <vector>

/// What the service says and does, a line for each: health events as "event TYPE TEXT", commands and responses that it
/// publishes, and what it tells the bus. The lines of a model are those that the service should have written.
using Log = std::vector<std::string>;

#endif
