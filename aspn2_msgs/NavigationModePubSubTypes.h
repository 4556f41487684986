#ifndef ASPN2_MSGS_NAVIGATIONMODEPUBSUBTYPES_H
#define ASPN2_MSGS_NAVIGATIONMODEPUBSUBTYPES_H

#include "aspn2_msgs/NavigationMode.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class NavigationModePubSubType : public TypeSupport<NavigationMode> {
public:
    NavigationModePubSubType() : TypeSupport("aspn2_msgs::idl::NavigationMode") {}
};

}  // namespace aspn2_msgs::idl

#endif
