#include "fuzz/PieceMutator.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t room);

namespace fuzz {

namespace {

constexpr std::size_t kLongestRun = 16;
constexpr std::size_t kLongestWord = 12;

using Pieces = std::vector<std::string>;

Pieces piecesOf(const std::string& text, IsBorder isBorder)
{
    Pieces pieces;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == 0 || isBorder(text[i - 1], text[i])) pieces.emplace_back();
        pieces.back() += text[i];
    }
    return pieces;
}

class Mutation {
public:
    explicit Mutation(unsigned seed) : m_random(seed) {}

    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : m_random() % limit; }

    void change(Pieces& pieces)
    {
        const std::size_t at = below(pieces.size());
        const auto place = pieces.begin() + static_cast<std::ptrdiff_t>(at);
        switch (below(4)) {
        case 0:
            *place = word();
            break;
        case 1:
            *place = std::string(pieces[below(pieces.size())]);
            break;
        case 2: {
            const Pieces run = runFrom(pieces, below(pieces.size()));
            pieces.insert(place, run.begin(), run.end());
            break;
        }
        default:
            pieces.erase(place, place + static_cast<std::ptrdiff_t>(runFrom(pieces, at).size()));
        }
    }

private:
    std::string word()
    {
        constexpr char kCharacters[] = "0123456789.-+abcxyzAFZ_: ";
        std::string word(below(kLongestWord + 1), '?');
        for (char& one : word) one = kCharacters[below(sizeof(kCharacters) - 1)];
        return word;
    }

    Pieces runFrom(const Pieces& pieces, std::size_t at)
    {
        const std::size_t length = std::min(1 + below(kLongestRun), pieces.size() - at);
        const auto begin = pieces.begin() + static_cast<std::ptrdiff_t>(at);
        return {begin, begin + static_cast<std::ptrdiff_t>(length)};
    }

    std::minstd_rand m_random;
};

}  // namespace

std::size_t mutatePieces(std::uint8_t* data, std::size_t size, std::size_t room, unsigned seed, IsBorder isBorder)
{
    Mutation mutation(seed);
    if (size == 0 || mutation.below(2) == 0) return LLVMFuzzerMutate(data, size, room);
    Pieces pieces = piecesOf(std::string(data, data + size), isBorder);
    mutation.change(pieces);
    std::string text;
    for (const auto& piece : pieces) text += piece;
    text.resize(std::min(text.size(), room));
    std::ranges::copy(text, data);
    return text.size();
}

}  // namespace fuzz
