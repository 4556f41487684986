#ifndef FACE_HX_TOPIC_HELPERS_H
#define FACE_HX_TOPIC_HELPERS_H

#include <string>

namespace eprosima::fastdds::dds {

class TopicDataType;

}  // namespace eprosima::fastdds::dds

namespace FACE::TSS::Topics {

/// A new type support of the class `aspn2_msgs::idl::<pub_sub_type>`, such as "UTCTimePubSubType", by the exact name.
/// The caller owns it. Null for any other name: the list of 32 is closed, and nested records are no topics.
/// Any thread may call.
eprosima::fastdds::dds::TopicDataType* GetPubSubType(const std::string& pub_sub_type);

}  // namespace FACE::TSS::Topics

#endif
