#ifndef ASPN2_MSGS_ENUMERATIONS_H
#define ASPN2_MSGS_ENUMERATIONS_H

#include <cstdint>

/// The enumerations of the message catalogue. Each travels as 32 bits, and any number is a value of it: the catalogue
/// names none of them, and the services that share the bus compare numbers. `assurance_state_enum{2}` makes one.
namespace aspn2_msgs::idl {

enum assurance_enum : std::uint32_t {};
enum assurance_level_enum : std::uint32_t {};
enum assurance_state_enum : std::uint32_t {};
enum attrib_enum : std::uint32_t {};
enum band_enum : std::uint32_t {};
enum channel_code_enum : std::uint32_t {};
enum channel_frequency_enum : std::uint32_t {};
enum channel_state_enum : std::uint32_t {};
enum command_response_type_enum : std::uint32_t {};
enum DirectionInput_enum : std::uint32_t {};
enum EstimatedDirection_enum : std::uint32_t {};
enum event_log_type_enum : std::uint32_t {};
enum gnss_corrections_used_enum : std::uint32_t {};
enum gnss_tracking_status_enum : std::uint32_t {};
enum HX_PNT_Solution_Assurance_enum : std::uint32_t {};
enum interference_band_enum : std::uint32_t {};
enum interference_signal_enum : std::uint32_t {};
enum interference_type_enum : std::uint32_t {};
enum iono_correction_source_enum : std::uint32_t {};
enum key_load_status_enum : std::uint32_t {};
enum key_status_enum : std::uint32_t {};
enum key_type_enum : std::uint32_t {};
enum key_zeroization_status_enum : std::uint32_t {};
enum navigation_mode_enum : std::uint32_t {};
enum rinex3_attribute_enum : std::uint32_t {};
enum rinex3_band_enum : std::uint32_t {};
enum rinex3_gnss_enum_enum : std::uint32_t {};
enum rinex3_satellite_system_enum : std::uint32_t {};
enum satellite_system_enum : std::uint32_t {};
enum subframe_satellite_system_enum : std::uint32_t {};
enum time_system_enum : std::uint32_t {};
enum type_enum : std::uint32_t {};

}  // namespace aspn2_msgs::idl

#endif
