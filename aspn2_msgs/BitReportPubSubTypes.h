#ifndef ASPN2_MSGS_BITREPORTPUBSUBTYPES_H
#define ASPN2_MSGS_BITREPORTPUBSUBTYPES_H

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class BitReportPubSubType : public TypeSupport<BitReport> {
public:
    BitReportPubSubType() : TypeSupport("aspn2_msgs::idl::BitReport") {}
};

}  // namespace aspn2_msgs::idl

#endif
