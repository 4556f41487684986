#ifndef TESTS_VICTORY_ORVANESERVER_BUSFILES_H
#define TESTS_VICTORY_ORVANESERVER_BUSFILES_H

#include "tests/support/VictoryRecorder.h"

/// The two files that the bus library makes its service of.
namespace BusFiles {

/// Two periods that the service changes, and two items that it leaves alone.
inline constexpr const char* kVcl = R"(<?xml version="1.0"?>
<vcl:VCL>
    <group type="ASSURED_PNT_BLENDED_NAVIGATION">
        <item name="updatePeriod" value="1"/>
        <item name="other" value="2"/>
    </group>
    <group type="ASSURED_PNT_NAVWAR_SA">
        <item name="updatePeriod" value="3"/>
    </group>
    <group type="ASSURED_PNT_WARNINGS">
        <item name="updatePeriod" value="4"/>
    </group>
</vcl:VCL>
)";

/// Gives the library both, where a `ServerDoor` lets it look for them.
inline void giveTo(VictoryRecorder& victory)
{
    victory.setFile("config", "<config/>");
    victory.setFile("vcl", "<vcl:VCL/>");
}

}  // namespace BusFiles

#endif
