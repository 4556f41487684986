// Changes lines by their words, each with the blanks behind it.

#include "fuzz/PieceMutator.h"

namespace {

bool isSpace(char one)
{
    return one == ' ' || one == '\n';
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t room, unsigned seed)
{
    return fuzz::mutatePieces(data, size, room, seed,
                              [](char before, char behind) { return isSpace(before) && !isSpace(behind); });
}
