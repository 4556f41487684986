#ifndef LAB_CTL_RECORDTYPES_H
#define LAB_CTL_RECORDTYPES_H

#include "aspn2_msgs/header.h"
#include "face/HX_TSS.h"
#include "lab/ctl/FrameDecoder.h"

#include <map>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

/// The types that topics can have, each with what is needed to receive and show its records. The topics carry no
/// description of their types, so this is where the names of the fields are had from. Pure functions, any thread.
namespace orvanectl {

/// Numbers that JSON does not know, by the paths of their fields: "message.altitude", "message.covariance.0.1".
using NotFinite = std::map<std::string, double>;

/// A record of one of the types, as the type support reads it.
using RecordPointer = std::shared_ptr<void>;

struct RecordType {
    std::string_view name;  ///< such as "EventLog"

    /// The record's fields by their names and in their order; the header, which stands first in all of them, is
    /// `decodeHeader`'s. Texts and arrays of characters are `printable`, bytes are hexadecimal digits, enumerations are
    /// numbers. A number that is not finite stands as it is, see `jsonLine`.
    Json (*fieldsOf)(const void* record);

    /// The units of its numbers by the names of the fields, as their lists tell them; what has none isn't there. The
    /// unit of an array is that of its elements, and an array or sequence of records has the object of their units.
    const Json& (*units)();

    const aspn2_msgs::idl::header& (*headerOf)(const void* record);
    aspn2_msgs::idl::header& (*headerIn)(void* record);

    /// Gives fields the values that `fieldsOf` shows, in an object that may leave some out: those stay as they are. A
    /// number is null where `notFinite` has it. Throws `FieldError`, with some fields set, for a name that the record has
    /// not and for a value that the field can't have.
    void (*setFields)(void* record, const Json& fields, const NotFinite& notFinite);

    RecordPointer (*make)();
    FACE::TSS::HX_TSS::TypeTest isTypeSupport;

    /// By which DDS knows it: "aspn2_msgs::idl::EventLog".
    std::string typeName() const;
    /// By which connection files name it: "EventLogPubSubType".
    std::string pubSubType() const;
};

/// A field that there is not, or a value that it can't have; the text names it by its path.
struct FieldError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Sets what `decodeHeader` shows, likewise; of the device id its member `value`, or a number in its place.
void setHeader(aspn2_msgs::idl::header& header, const Json& fields);

/// The units of what `decodeHeader` shows, likewise.
const Json& headerUnits();

/// All 32, by name.
std::span<const RecordType> recordTypes();

/// The type of any of its three names; null if there is none.
const RecordType* findRecordType(std::string_view name);

/// All names, for a person: "Altitude, AssuranceState, ...".
std::string namesOfRecordTypes();

}  // namespace orvanectl

#endif
