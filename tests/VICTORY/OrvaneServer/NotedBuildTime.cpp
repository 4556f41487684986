// What the build has written down as its time, under a name beside the one that the service asks for.
#define time notedTime
#include ORVANE_BUILD_TIME_SOURCE
