#ifndef LAB_CTL_WHY_JOINRULE_H
#define LAB_CTL_WHY_JOINRULE_H

#include "VICTORY/OrvaneServer/NavInputs.h"
#include "VICTORY/OrvaneServer/ServerSettings.h"

#include <type_traits>

namespace orvanectl {

/// What the service's own code says of single inputs: it is asked, with inputs beside them that are beyond doubt. One
/// thread at a time; nothing is printed.
class JoinRule {
public:
    explicit JoinRule(const ServerSettings& settings);
    /// By the same settings: nothing else is kept from one question to the next.
    JoinRule(const JoinRule& other) : JoinRule(other.m_settings) {}
    JoinRule& operator=(const JoinRule&) = delete;

    /// Whether the source of a message is wanted.
    template <class Message>
    bool takes(const Message& message)
    {
        if constexpr (std::is_same_v<Message, aspn2_msgs::idl::GSSIP>)
            return takesReport(message);
        else
            return m_filter.store(message);
    }

    /// Whether a record of the receiver's queue holds an 8504, whole or not.
    static bool isReport(const aspn2_msgs::idl::GSSIP& message);

    /// Whether an input of that time would be joined with a time message.
    bool fits(const aspn2_msgs::idl::header& input, const aspn2_msgs::idl::header& time) const;

    /// Whether a report can be unpacked.
    bool isFrame(const aspn2_msgs::idl::GSSIP& report) const;

    /// Whether a report uses up the inputs that are there with it, so that the next join needs new ones.
    bool usesUp(const aspn2_msgs::idl::GSSIP& report) const;

private:
    bool takesReport(const aspn2_msgs::idl::GSSIP& message) const;
    bool joins(const aspn2_msgs::idl::header& time, const aspn2_msgs::idl::header& input,
               const aspn2_msgs::idl::GSSIP& receiver) const;

    const ServerSettings m_settings;   // prints nothing
    const ServerSettings m_anySource;  // nor refuses anything
    NavInputs m_filter;
};

}  // namespace orvanectl

#endif
