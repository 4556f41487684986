#ifndef LAB_CTL_WHY_EPOCH_H
#define LAB_CTL_WHY_EPOCH_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace orvanectl {

/// What a join is made of, in the order in which it is told.
enum class JoinInput : std::uint8_t { UtcTime, Pva, Pnt, Mis, Assurance, Receiver };
constexpr std::size_t kJoinInputs = 6;

/// "HalvexPNT"; of the receiver's report "8504".
const char* nameOf(JoinInput input);

/// One thing that kept a time message from being joined.
struct MissCause {
    enum class Kind : std::uint8_t {
        Missing,    ///< did not come
        Refused,    ///< came from servers that the settings don't name
        NotAFrame,  ///< came, and can't be unpacked
        Unusable,   ///< one of these or of the next three, which can't be told apart without hearing the input
        Unread,     ///< nothing at all was read from its queue
        Late,       ///< its time of validity is too far before that of the time message
        Early,      ///< or behind it
        Overtaken,  ///< all came, and the next time message before the service looks
        NoService,  ///< the bus had no service that runs
        NotTold,    ///< all came, and nothing was published
    };

    Kind kind;
    JoinInput input = JoinInput::UtcTime;
    double seconds = 0;        ///< how late or early; how long all were there; how long it lasts, 0 if not known
    std::string servers = {};  ///< that were refused: "MasterClock and ZentorM"

    /// "HalvexPNT 1.2 s late", "no 8504".
    std::string text() const;
};

/// Of a cause that lasts: "no UTCTime", "no UTCTime for 3 s", "UTCTime refused, from MasterClock, for 3 s".
std::string lastingText(const MissCause& cause);

/// A time message, and what became of it.
struct Epoch {
    double gpsSeconds = 0;  ///< s of the GPS week
    bool isJoined = false;
    std::vector<MissCause> causes;  ///< empty when it is joined
    std::uint64_t leftOut = 0;      ///< if not 0 this stands for so many that were too many at a time
};

/// Epochs counted by what became of them. One that has several causes counts for each of them.
class JoinSum {
public:
    /// Sets of refused servers that are counted apart; the rest of each input count together.
    static constexpr std::size_t kMostSets = 100;

    void add(const Epoch& epoch);

    std::uint64_t epochs() const { return m_epochs; }
    std::uint64_t joined() const { return m_joined; }
    /// Of which nothing is known, and which are not among the epochs.
    std::uint64_t leftOut() const { return m_leftOut; }

    /// The causes as they are told, such as "HalvexPNT 1.2 to 1.4 s late", and how often; the most frequent first.
    std::vector<std::pair<std::string, std::uint64_t>> causes() const;

    /// "join rate 0.93 (56 of 60): 3 x HalvexPNT 1.2 s late, 1 x no 8504"; behind it, of those that were left out:
    /// "; 12 time messages left out, too many at a time".
    /// @param silence  why no time message comes, if so; stands in front
    std::string text(const std::optional<MissCause>& silence = {}) const;

    /// Roughly what a copy takes, in bytes: it grows with the sets of servers that were refused.
    std::size_t weight() const;

private:
    using Key = std::tuple<MissCause::Kind, JoinInput, std::string>;
    struct Count {
        std::uint64_t times = 0;
        double least = 0, most = 0;  // s
    };

    std::uint64_t m_epochs = 0;
    std::uint64_t m_joined = 0;
    std::uint64_t m_leftOut = 0;
    std::size_t m_sets = 0;  // of refused servers, among the causes
    std::map<Key, Count> m_causes;
};

}  // namespace orvanectl

#endif
