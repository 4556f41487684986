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
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

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

/// Random numbers, many of them at an edge.
class Random : public Source {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    std::size_t below(std::size_t limit) { return m_engine() % limit; }

    bool boolean() override { return below(2) == 1; }
    char character() override { return static_cast<char>(below(256)); }
    std::uint8_t byte() override { return static_cast<std::uint8_t>(below(256)); }
    std::int32_t int32() override { return number<std::int32_t>(); }
    std::int64_t int64() override { return number<std::int64_t>(); }
    float float32() override { return number<float>(); }
    double float64() override { return number<double>(); }
    std::uint32_t enumeration() override { return number<std::uint32_t>(); }
    std::size_t count() override { return below(4) == 0 ? below(120) : below(4); }
    std::string text() override
    {
        std::string text(below(2) == 0 ? below(4) : below(300), ' ');
        for (char& character : text) character = static_cast<char>(1 + below(255));
        return text;
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

/// A record of ours and the generated one of its name.
class Pair {
public:
    virtual ~Pair() = default;
    /// Gives both the same content.
    virtual void fill(Source& source) = 0;
    virtual AnyRecord& ours() = 0;
    virtual AnyRecord& theirs() = 0;
};

template <class Ours, class Theirs>
class PairOf final : public Pair {
public:
    void fill(Source& source) override
    {
        eachFieldOf(m_ours.record(), Fill{source});
        eachPairOf(m_ours.record(), m_theirs.record(), Copy{});
    }
    AnyRecord& ours() override { return m_ours; }
    AnyRecord& theirs() override { return m_theirs; }

private:
    RecordOf<Ours> m_ours;
    RecordOf<Theirs> m_theirs;
};

struct PairCase {
    std::string name;
    std::unique_ptr<Pair> pair;
    std::unique_ptr<TopicDataType> ours;
    std::unique_ptr<TopicDataType> theirs;
    bool fixed;
};

/// The 41 types with a type support.
std::vector<PairCase> supportedPairs()
{
    std::vector<PairCase> cases;
#define ADD_PAIR(Name)                                                                                                 \
    cases.push_back({#Name, std::make_unique<PairOf<ours::Name, theirs::Name>>(),                                      \
                     std::make_unique<ours::Name##PubSubType>(), std::make_unique<theirs::Name##PubSubType>(),         \
                     ours::layout::kFixed<ours::Name>});
    FOR_EACH_SUPPORTED_RECORD(ADD_PAIR)
    return cases;
}

/// All 44.
std::vector<PairCase> allPairs()
{
    auto cases = supportedPairs();
#define ADD_COMMON_PAIR(Name)                                                                                          \
    cases.push_back({#Name, std::make_unique<PairOf<ours::Name, theirs::Name>>(), nullptr, nullptr, true});
    FOR_EACH_COMMON_RECORD(ADD_COMMON_PAIR)
    return cases;
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

Outcome writeInto(std::size_t room, const AnyRecord& record, Cdr::Endianness order)
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

/// Reads into a record of the type of `like`.
Outcome readFrom(std::vector<char> bytes, const AnyRecord& like, Cdr::Endianness order, bool withRecord)
{
    bytes.shrink_to_fit();
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    Outcome outcome;
    const auto record = like.fresh();
    try {
        record->deserialize(cdr);
    } catch (const eprosima::fastcdr::exception::Exception&) {
        outcome.good = false;
    }
    outcome.position = cdr.getSerializedDataLength();
    if (outcome.good || withRecord) outcome.result = wireOf(*record);
    return outcome;
}

Outcome serializeInto(std::uint32_t room, TopicDataType& support, AnyRecord& record)
{
    SerializedPayload_t payload(room);
    std::memset(payload.data, 0x5A, room);
    Outcome outcome;
    outcome.good = support.serialize(record.data(), &payload);
    if (outcome.good) {
        outcome.position = payload.length;
        outcome.result = hexOf(reinterpret_cast<char*>(payload.data), payload.length);
    }
    return outcome;
}

Outcome deserializeFrom(const std::vector<char>& bytes, TopicDataType& support, const AnyRecord& like)
{
    SerializedPayload_t payload(static_cast<std::uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), payload.data);
    payload.length = payload.max_size;
    const auto record = like.fresh();
    Outcome outcome;
    try {
        outcome.good = support.deserialize(&payload, record->data());
    } catch (const eprosima::fastcdr::exception::BadParamException&) {
        outcome.good = false;  // the generated code lets it out
    }
    if (outcome.good) outcome.result = wireOf(*record);
    return outcome;
}

constexpr auto kOrders = {Cdr::LITTLE_ENDIANNESS, Cdr::BIG_ENDIANNESS};

}  // namespace

TEST(GeneratedCatalogueTest, NamesSizesAndKindsAreTheSame)
{
    for (const auto& one : supportedPairs()) {
        EXPECT_EQ(one.ours->getName(), "aspn2_msgs::idl::" + one.name);
        EXPECT_EQ(one.theirs->getName(), "generated::idl::" + one.name);
        EXPECT_EQ(ours::layout::alignUp(one.ours->m_typeSize, 4), one.theirs->m_typeSize);  // the generator rounds up
        EXPECT_EQ(one.ours->is_bounded(), one.theirs->is_bounded());
        EXPECT_EQ(one.ours->is_plain(), one.theirs->is_plain());
        EXPECT_EQ(one.ours->m_isGetKeyDefined, one.theirs->m_isGetKeyDefined);
    }
}

TEST(GeneratedCatalogueTest, SizesAreTheSameAtEveryPlace)
{
    for (const auto& one : allPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        for (unsigned seed = 0; seed < 20; ++seed) {
            Random random{seed};
            one.pair->fill(random);
            for (std::size_t position = 0; position < 16; ++position) {
                ASSERT_EQ(mine.getCdrSerializedSize(position), its.getCdrSerializedSize(position)) << one.name;
                ASSERT_EQ(mine.getMaxCdrSerializedSize(position), its.getMaxCdrSerializedSize(position)) << one.name;
            }
        }
    }
}

TEST(GeneratedCatalogueTest, BytesAreTheSameInBothOrders)
{
    for (const auto& one : allPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        for (unsigned seed = 0; seed < 40; ++seed) {
            Random random{seed};
            one.pair->fill(random);
            const std::size_t room = mine.getCdrSerializedSize() + 9;
            for (const auto order : kOrders) {
                ASSERT_EQ(writeInto(room, mine, order), writeInto(room, its, order)) << one.name;
                const auto bytes = fromHex(wireOf(its, order));
                ASSERT_EQ(readFrom(bytes, mine, order, true), readFrom(bytes, its, order, true)) << one.name;
            }
        }
    }
}

TEST(GeneratedCatalogueTest, ShortBuffersAreLeftInTheSameState)
{
    for (const auto& one : allPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        Numbers numbers;
        one.pair->fill(numbers);
        for (const auto order : kOrders)
            for (std::size_t room = 0; room <= mine.getCdrSerializedSize(); ++room)
                ASSERT_EQ(writeInto(room, mine, order), writeInto(room, its, order)) << one.name;
    }
}

TEST(GeneratedCatalogueTest, ShortBytesLeaveTheReaderInTheSameState)
{
    for (const auto& one : allPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        Numbers numbers;
        one.pair->fill(numbers);
        for (const auto order : kOrders) {
            auto bytes = fromHex(wireOf(mine, order));
            while (!bytes.empty()) {
                bytes.pop_back();
                ASSERT_EQ(readFrom(bytes, mine, order, one.fixed), readFrom(bytes, its, order, one.fixed)) << one.name;
            }
        }
    }
}

TEST(GeneratedCatalogueTest, SpoiltBytesAreAnsweredAlike)
{
    for (const auto& one : allPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        for (unsigned seed = 0; seed < 300; ++seed) {
            Random random{seed};
            if (seed % 10 == 0) one.pair->fill(random);
            for (const auto order : kOrders) {
                auto bytes = fromHex(wireOf(mine, order));
                for (int spoils = 0; spoils < 3; ++spoils)
                    bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
                // Of a sequence that fails, either side keeps what it had made by then.
                ASSERT_EQ(readFrom(bytes, mine, order, one.fixed), readFrom(bytes, its, order, one.fixed)) << one.name;
            }
        }
    }
}

TEST(GeneratedCatalogueTest, PayloadsAreTheSameWhateverTheirRoom)
{
    for (const auto& one : supportedPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        Numbers numbers;
        one.pair->fill(numbers);
        const auto size = static_cast<std::uint32_t>(mine.getCdrSerializedSize()) + 4;
        for (std::uint32_t room = 4; room < size + 3; ++room)  // below 4 the generated code raises
            ASSERT_EQ(serializeInto(room, *one.ours, mine), serializeInto(room, *one.theirs, its)) << one.name;
    }
}

TEST(GeneratedCatalogueTest, RandomPayloadsAreTheSame)
{
    for (const auto& one : supportedPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        for (unsigned seed = 0; seed < 40; ++seed) {
            Random random{seed};
            one.pair->fill(random);
            const auto room = static_cast<std::uint32_t>(mine.getCdrSerializedSize()) + 7;
            const Outcome written = serializeInto(room, *one.ours, mine);
            ASSERT_EQ(written, serializeInto(room, *one.theirs, its)) << one.name;
            const auto bytes = fromHex(written.result);
            ASSERT_EQ(deserializeFrom(bytes, *one.ours, mine), deserializeFrom(bytes, *one.theirs, its)) << one.name;
        }
    }
}

TEST(GeneratedCatalogueTest, SpoiltOrShortPayloadsAreAnsweredAlike)
{
    for (const auto& one : supportedPairs()) {
        auto &mine = one.pair->ours(), &its = one.pair->theirs();
        for (unsigned seed = 0; seed < 300; ++seed) {
            Random random{seed};
            if (seed % 10 == 0) one.pair->fill(random);
            const auto room = static_cast<std::uint32_t>(mine.getCdrSerializedSize()) + 4;
            auto bytes = fromHex(serializeInto(room, *one.ours, mine).result);
            for (std::size_t spoils = random.below(3); spoils > 0; --spoils)
                bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
            if (random.below(2) == 0) bytes.resize(random.below(bytes.size()) + 1);
            ASSERT_EQ(deserializeFrom(bytes, *one.ours, mine), deserializeFrom(bytes, *one.theirs, its)) << one.name;
        }
    }
}
