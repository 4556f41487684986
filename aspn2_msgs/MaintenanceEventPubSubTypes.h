#ifndef ASPN2_MSGS_MAINTENANCEEVENTPUBSUBTYPES_H
#define ASPN2_MSGS_MAINTENANCEEVENTPUBSUBTYPES_H

#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class MaintenanceEventPubSubType : public TypeSupport<MaintenanceEvent> {
public:
    MaintenanceEventPubSubType() : TypeSupport("aspn2_msgs::idl::MaintenanceEvent") {}
};

}  // namespace aspn2_msgs::idl

#endif
