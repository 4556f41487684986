#ifndef LAB_CTL_RECORD_RECORDPAYLOAD_H
#define LAB_CTL_RECORD_RECORDPAYLOAD_H

#include "lab/ctl/RecordTypes.h"

#include <cstdint>
#include <span>
#include <vector>

/// Records as they travel: CDR, behind four bytes that tell its order. Pure functions, any thread.
namespace orvanectl {

/// In little-endian order. Throws `std::bad_alloc`.
std::vector<std::uint8_t> payloadOf(const RecordType& type, const void* record);

/// Reads a payload of either order. False, with the record in any state, for bytes that are no such record.
bool readPayload(const RecordType& type, std::span<const std::uint8_t> payload, void* record);

}  // namespace orvanectl

#endif
