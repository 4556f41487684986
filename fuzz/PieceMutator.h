#ifndef FUZZ_PIECEMUTATOR_H
#define FUZZ_PIECEMUTATOR_H

#include <cstddef>
#include <cstdint>

namespace fuzz {

/// Whether a piece of a text ends between two characters.
using IsBorder = bool (*)(char before, char behind);

/// Changes a text by its pieces, as who writes such texts would: a piece becomes another word or one from elsewhere, and
/// runs of pieces are copied or go. Every second time it leaves that to the fuzzer's own changes of bytes.
/// @param room  that the text may take
/// @return the new size
std::size_t mutatePieces(std::uint8_t* data, std::size_t size, std::size_t room, unsigned seed, IsBorder isBorder);

}  // namespace fuzz

#endif
