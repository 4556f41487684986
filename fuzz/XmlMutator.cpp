// Changes XML by its tags and by the texts between them.

#include "fuzz/PieceMutator.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t room, unsigned seed)
{
    return fuzz::mutatePieces(data, size, room, seed,
                              [](char before, char behind) { return before == '>' || behind == '<'; });
}
