#ifndef ASPN2_MSGS_WORDS_H
#define ASPN2_MSGS_WORDS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The words in which the records name the types of their fields.
namespace aspn2_msgs::idl::words {

using boolean = bool;
using uint8 = std::uint8_t;
using int32 = std::int32_t;
using int64 = std::int64_t;
using float32 = float;
using float64 = double;

/// A text of at most 255 characters, and any number of `Element`, at most 100. The bounds enter the largest size of a
/// record and nothing else: a longer value is kept, and travels if its payload has the room.
struct string;
template <class Element>
struct sequence;

inline constexpr std::size_t kLongestText = 255;
inline constexpr std::size_t kLongestSequence = 100;

template <class Word>
struct MemberOf {
    using type = Word;
};
template <class Element, std::size_t Count>
struct MemberOf<Element[Count]> {
    using type = std::array<typename MemberOf<Element>::type, Count>;
};
template <>
struct MemberOf<string> {
    using type = std::string;
};
template <class Element>
struct MemberOf<sequence<Element>> {
    using type = std::vector<Element>;
};

/// The C++ type of a field of the type `Word`.
template <class Word>
using Member = typename MemberOf<Word>::type;

}  // namespace aspn2_msgs::idl::words

/// Where the types of the records' fields are named: the words go without a prefix there.
namespace aspn2_msgs::idl::fields {
using namespace words;
}

#endif
