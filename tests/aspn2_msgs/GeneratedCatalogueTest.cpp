// The catalogue against the code that fastddsgen makes from aspn2_msgs/idl: other products that join the bus by these
// files must meet the same names, bytes, sizes, and the same answers to bytes that are none.

#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/aspn2_msgs/WireBytes.h"

#include "commandPubSubTypes.h"
#include "commonPubSubTypes.h"
#include "gnssPubSubTypes.h"
#include "navigationPubSubTypes.h"

#include <fastcdr/exceptions/BadParamException.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace {

namespace ours = aspn2_msgs::idl;
namespace theirs = generated::idl;
using eprosima::fastdds::dds::TopicDataType;
using eprosima::fastrtps::rtps::SerializedPayload_t;

/// `eachPairOf(ours, theirs, visit)` hands the fields of one name to `visit(ours, theirs)`.
#define VISIT_PAIR(name, ...) visit(mine.name(), its.name());
#define DEFINE_EACH_PAIR_OF(Name)                                                                                      \
    template <class Visitor>                                                                                           \
    void eachPairOf(ours::Name& mine, theirs::Name& its, Visitor visit)                                                \
    {                                                                                                                  \
        ASPN2_FIELDS_##Name(VISIT_PAIR)                                                                                \
    }
FOR_EACH_RECORD(DEFINE_EACH_PAIR_OF)

/// Copies a record into the generated one, field by field by name.
struct Copy {
    template <class Mine, class Its>
    void operator()(Mine& mine, Its& its)
    {
        if constexpr (std::is_enum_v<Mine>) {
            static_assert(std::is_enum_v<Its> && sizeof(Its) == 4);
            its = static_cast<Its>(mine);
        } else if constexpr (std::is_same_v<Mine, Its>) {
            its = mine;
        } else {
            eachPairOf(mine, its, *this);
        }
    }
    template <class Mine, class Its, std::size_t Size>
        requires(!std::is_same_v<Mine, Its>)
    void operator()(std::array<Mine, Size>& mine, std::array<Its, Size>& its)
    {
        for (std::size_t i = 0; i < Size; ++i) (*this)(mine[i], its[i]);
    }
    template <class Mine, class Its>
        requires(!std::is_same_v<Mine, Its>)
    void operator()(std::vector<Mine>& mine, std::vector<Its>& its)
    {
        its.resize(mine.size());
        for (std::size_t i = 0; i < mine.size(); ++i) (*this)(mine[i], its[i]);
    }
};

/// Fills a record with random numbers, many of them at an edge.
class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    std::size_t below(std::size_t limit) { return m_engine() % limit; }

    template <class T>
    void operator()(T& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            value = below(2) == 1;
        else if constexpr (std::is_enum_v<T>)
            value = static_cast<T>(number<std::uint32_t>());
        else if constexpr (std::is_arithmetic_v<T>)
            value = number<T>();
        else
            eachFieldOf(value, [this](const char*, auto& field) { (*this)(field); });
    }
    template <class T, std::size_t Size>
    void operator()(std::array<T, Size>& array)
    {
        for (auto& element : array) (*this)(element);
    }
    template <class T>
    void operator()(std::vector<T>& sequence)
    {
        sequence.resize(below(4) == 0 ? below(120) : below(4));
        for (auto& element : sequence) (*this)(element);
    }
    void operator()(std::string& text)
    {
        text.assign(below(2) == 0 ? below(4) : below(300), '\0');
        for (char& character : text) character = static_cast<char>(1 + below(255));
    }

private:
    template <class T>
    T number()
    {
        using Limits = std::numeric_limits<T>;
        const T edges[] = {T(0),
                           static_cast<T>(-1),
                           Limits::min(),
                           Limits::max(),
                           Limits::lowest(),
                           Limits::infinity(),
                           Limits::quiet_NaN(),
                           Limits::denorm_min()};
        if (below(3) == 0) return edges[below(std::size(edges))];
        const std::uint64_t bits = (std::uint64_t{m_engine()} << 32) | m_engine();
        if constexpr (std::is_same_v<T, double>)
            return std::bit_cast<double>(bits);
        else if constexpr (std::is_same_v<T, float>)
            return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        else
            return static_cast<T>(bits);
    }

    std::mt19937 m_engine;
};

/// Calls `check(seed, Ours(), Theirs())` for every record.
template <class Check>
void forEachPair(Check check)
{
#define CHECK_PAIR(Name)                                                                                               \
    {                                                                                                                  \
        SCOPED_TRACE(#Name);                                                                                           \
        check(ours::Name(), theirs::Name());                                                                           \
    }
    FOR_EACH_RECORD(CHECK_PAIR)
#undef CHECK_PAIR
}

/// Calls `check(ours, theirs, Ours(), Theirs())` with both type supports of every type that has one.
template <class Check>
void forEachTypePair(Check check)
{
#define CHECK_TYPE_PAIR(Name)                                                                                          \
    {                                                                                                                  \
        SCOPED_TRACE(#Name);                                                                                           \
        ours::Name##PubSubType mine;                                                                                   \
        theirs::Name##PubSubType its;                                                                                  \
        check(static_cast<TopicDataType&>(mine), static_cast<TopicDataType&>(its), ours::Name(), theirs::Name());      \
    }
    FOR_EACH_SUPPORTED_RECORD(CHECK_TYPE_PAIR)
#undef CHECK_TYPE_PAIR
}

/// What a codec did: whether it went well, where it left `Cdr`, and the bytes or the record that came of it.
struct Outcome {
    bool good = true;
    std::size_t position = 0;
    std::string result;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << (outcome.good ? "good" : "failed") << " at " << outcome.position << ' ' << outcome.result;
}

template <class Record>
Outcome writeInto(std::size_t room, const Record& record, Cdr::Endianness order)
{
    std::vector<char> bytes(room, '\x5A');
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    Outcome outcome;
    try {
        record.serialize(cdr);
    } catch (const eprosima::fastcdr::exception::Exception&) {
        outcome.good = false;
    }
    outcome.position = cdr.getSerializedDataLength();
    outcome.result = hexOf(bytes.data(), bytes.size());
    return outcome;
}

template <class Record>
Outcome readFrom(std::vector<char> bytes, Cdr::Endianness order, bool withRecord)
{
    bytes.shrink_to_fit();
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    Outcome outcome;
    Record record;
    try {
        record.deserialize(cdr);
    } catch (const eprosima::fastcdr::exception::Exception&) {
        outcome.good = false;
    }
    outcome.position = cdr.getSerializedDataLength();
    if (outcome.good || withRecord) outcome.result = wireOf(record);
    return outcome;
}

/// The bytes of a payload with room for `room`, after `record` was written to it.
template <class Record>
Outcome serializeInto(std::uint32_t room, TopicDataType& support, Record record)
{
    SerializedPayload_t payload(room);
    std::memset(payload.data, 0x5A, room);
    Outcome outcome;
    outcome.good = support.serialize(&record, &payload);
    if (outcome.good) {
        outcome.position = payload.length;
        outcome.result = hexOf(reinterpret_cast<char*>(payload.data), payload.length);
    }
    return outcome;
}

template <class Record>
Outcome deserializeFrom(const std::vector<char>& bytes, TopicDataType& support)
{
    SerializedPayload_t payload(static_cast<std::uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), payload.data);
    payload.length = payload.max_size;
    Record record;
    Outcome outcome;
    try {
        outcome.good = support.deserialize(&payload, &record);
    } catch (const eprosima::fastcdr::exception::BadParamException&) {
        outcome.good = false;  // the generated code lets it out
    }
    if (outcome.good) outcome.result = wireOf(record);
    return outcome;
}

template <class Ours, class Theirs>
Theirs copyOf(Ours& mine)
{
    Theirs its;
    Copy{}(mine, its);
    return its;
}

constexpr auto kOrders = {Cdr::LITTLE_ENDIANNESS, Cdr::BIG_ENDIANNESS};

}  // namespace

TEST(GeneratedCatalogueTest, NamesSizesAndKindsAreTheSame)
{
    forEachTypePair([](TopicDataType& mine, TopicDataType& its, const auto&, const auto&) {
        EXPECT_EQ(std::string(mine.getName()).substr(10), std::string(its.getName()).substr(9));
        EXPECT_EQ(std::string(its.getName()).substr(0, 16), "generated::idl::");
        EXPECT_EQ(ours::layout::alignUp(mine.m_typeSize, 4), its.m_typeSize);  // the generator rounds up
        EXPECT_EQ(mine.is_bounded(), its.is_bounded());
        EXPECT_EQ(mine.is_plain(), its.is_plain());
        EXPECT_EQ(mine.m_isGetKeyDefined, its.m_isGetKeyDefined);
    });
}

TEST(GeneratedCatalogueTest, LargestSizesAreTheSameAtEveryPlace)
{
    forEachPair([]<class Ours, class Theirs>(const Ours&, const Theirs&) {
        for (std::size_t position = 0; position < 16; ++position)
            EXPECT_EQ(Ours::getMaxCdrSerializedSize(position), Theirs::getMaxCdrSerializedSize(position));
    });
}

TEST(GeneratedCatalogueTest, SizesAreTheSameAtEveryPlace)
{
    forEachPair([]<class Ours, class Theirs>(Ours mine, const Theirs&) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            Random{seed}(mine);
            const auto its = copyOf<Ours, Theirs>(mine);
            for (std::size_t position = 0; position < 16; ++position)
                EXPECT_EQ(Ours::getCdrSerializedSize(mine, position), Theirs::getCdrSerializedSize(its, position));
        }
    });
}

TEST(GeneratedCatalogueTest, BytesAreTheSameInBothOrders)
{
    forEachPair([]<class Ours, class Theirs>(Ours mine, const Theirs&) {
        for (unsigned seed = 0; seed < 40; ++seed) {
            Random{seed}(mine);
            const auto its = copyOf<Ours, Theirs>(mine);
            for (const auto order : kOrders) {
                const std::size_t room = Ours::getCdrSerializedSize(mine) + 9;
                ASSERT_EQ(writeInto(room, mine, order), writeInto(room, its, order));
                const auto bytes = bytesOf(wireOf(its, order));
                ASSERT_EQ(readFrom<Ours>(bytes, order, true), readFrom<Theirs>(bytes, order, true));
            }
        }
    });
}

TEST(GeneratedCatalogueTest, ShortBuffersAreLeftInTheSameState)
{
    forEachPair([]<class Ours, class Theirs>(Ours mine, const Theirs&) {
        Numbered{}(mine);
        const auto its = copyOf<Ours, Theirs>(mine);
        for (const auto order : kOrders)
            for (std::size_t room = 0; room <= Ours::getCdrSerializedSize(mine); ++room)
                ASSERT_EQ(writeInto(room, mine, order), writeInto(room, its, order)) << room;
    });
}

TEST(GeneratedCatalogueTest, ShortPayloadsAreLeftInTheSameState)
{
    forEachPair([]<class Ours, class Theirs>(Ours mine, const Theirs&) {
        Numbered{}(mine);
        for (const auto order : kOrders) {
            auto bytes = bytesOf(wireOf(mine, order));
            while (!bytes.empty()) {
                bytes.pop_back();
                const bool withRecord = ours::layout::kFixed<Ours>;
                ASSERT_EQ(readFrom<Ours>(bytes, order, withRecord), readFrom<Theirs>(bytes, order, withRecord));
            }
        }
    });
}

TEST(GeneratedCatalogueTest, SpoiltPayloadsAreAnsweredAlike)
{
    forEachPair([]<class Ours, class Theirs>(Ours mine, const Theirs&) {
        for (unsigned seed = 0; seed < 300; ++seed) {
            Random random{seed};
            if (seed % 10 == 0) random(mine);
            for (const auto order : kOrders) {
                auto bytes = bytesOf(wireOf(mine, order));
                for (int spoils = 0; spoils < 3; ++spoils)
                    bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
                // Of a sequence that fails, either side keeps what it had made by then.
                const bool withRecord = ours::layout::kFixed<Ours>;
                ASSERT_EQ(readFrom<Ours>(bytes, order, withRecord), readFrom<Theirs>(bytes, order, withRecord)) << seed;
            }
        }
    });
}

TEST(GeneratedCatalogueTest, PayloadsAreTheSameWhateverTheirRoom)
{
    forEachTypePair([]<class Ours, class Theirs>(TopicDataType& mine, TopicDataType& its, Ours record, const Theirs&) {
        Numbered{}(record);
        const auto copy = copyOf<Ours, Theirs>(record);
        const auto size = static_cast<std::uint32_t>(Ours::getCdrSerializedSize(record)) + 4;
        for (std::uint32_t room = 4; room < size + 3; ++room)  // below 4 the generated code raises
            ASSERT_EQ(serializeInto(room, mine, record), serializeInto(room, its, copy)) << room;
    });
}

TEST(GeneratedCatalogueTest, RandomPayloadsAreTheSame)
{
    forEachTypePair([]<class Ours, class Theirs>(TopicDataType& mine, TopicDataType& its, Ours record, const Theirs&) {
        for (unsigned seed = 0; seed < 40; ++seed) {
            Random{seed}(record);
            const auto copy = copyOf<Ours, Theirs>(record);
            const auto room = static_cast<std::uint32_t>(Ours::getCdrSerializedSize(record)) + 7;
            const Outcome written = serializeInto(room, mine, record);
            ASSERT_EQ(written, serializeInto(room, its, copy));
            const auto bytes = bytesOf(written.result);
            ASSERT_EQ(deserializeFrom<Ours>(bytes, mine), deserializeFrom<Theirs>(bytes, its));
        }
    });
}

TEST(GeneratedCatalogueTest, SpoiltOrShortPayloadsAreAnsweredAlike)
{
    forEachTypePair([]<class Ours, class Theirs>(TopicDataType& mine, TopicDataType& its, Ours record, const Theirs&) {
        for (unsigned seed = 0; seed < 300; ++seed) {
            Random random{seed};
            if (seed % 10 == 0) random(record);
            const auto room = static_cast<std::uint32_t>(Ours::getCdrSerializedSize(record)) + 4;
            auto bytes = bytesOf(serializeInto(room, mine, record).result);
            for (std::size_t spoils = random.below(3); spoils > 0; --spoils)
                bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
            if (random.below(2) == 0) bytes.resize(random.below(bytes.size()) + 1);
            ASSERT_EQ(deserializeFrom<Ours>(bytes, mine), deserializeFrom<Theirs>(bytes, its)) << seed;
        }
    });
}
