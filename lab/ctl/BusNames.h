#ifndef LAB_CTL_BUSNAMES_H
#define LAB_CTL_BUSNAMES_H

#include <string_view>

/// The names of lines of the lab's bus (docs/lab/bus.md).
namespace orvanectl {

struct BusName {
    std::string_view name;
    bool isKept;  ///< the bus keeps the last one for clients that come later
    bool isNews;  ///< something that the service, or the bus of it, has told by itself
};

/// First tells by what they tell, then types of lines.
inline constexpr BusName kBusNames[] = {{"blended-navigation", true, true},
                                        {"navwar-sa", true, true},
                                        {"warning-messages", true, true},
                                        {"system-configuration", true, true},
                                        {"available-outputs", true, true},
                                        {"available-sensors", true, true},
                                        {"built-in-test-results", true, true},
                                        {"clear-system-data", true, true},
                                        {"execute-built-in-tests", true, true},
                                        {"clear-built-in-test-results", true, true},
                                        {"faults", true, true},
                                        {"service", true, true},
                                        {"held", false, true},
                                        {"misuse", false, true},
                                        {"hello", false, false},
                                        {"tell", false, false},
                                        {"answer", false, false},
                                        {"error", false, false},
                                        {"dropped", false, false}};

}  // namespace orvanectl

#endif
