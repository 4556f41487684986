#ifndef LAB_CTL_SEQ_STEPS_H
#define LAB_CTL_SEQ_STEPS_H

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// Operations and what is expected of them, as data.
namespace orvanectl {

/// What can be expected.
enum class Kind {
    Warning,  ///< a row that the list of warnings has not had before
    Tell,     ///< something told on the bus, by the names of `orvanectl bus watch`
    Event,    ///< an EventLog record
    Answer,   ///< the answer to a request
    Console   ///< a line at the service's terminal
};

struct Expectation {
    /// Seconds from one to the next.
    struct Interval {
        double seconds;
        double tolerance;
    };

    /// How often.
    struct Times {
        int least;
        int most;
    };

    Kind kind = Kind::Tell;
    bool none = false;  ///< it is expected that none comes
    int lowest = 0;     ///< number of a warning, and the highest
    int highest = 0;
    std::string name;                ///< of a tell
    std::vector<std::string> texts;  ///< all of which are in it
    std::optional<Interval> every;   ///< it is expected again and again
    std::optional<Times> times;      ///< it is expected so often
    double seconds = 10;             ///< for which it is waited, or watched
};

/// Starts the service with these keys of its top-level file changed.
struct StartService {
    std::vector<std::pair<std::string, std::string>> settings;
};

/// Starts `unit-sim`.
struct StartUnit {
    std::vector<std::string> options;
};

/// Ends the service in order.
struct StopService {};

/// A request on the bus; it is done when it is answered.
struct MakeRequest {
    nlohmann::ordered_json body;
};

/// A line of a scenario for `unit-sim`.
struct TellUnit {
    std::string line;
};

/// Keys at the service's terminal.
struct TypeKeys {
    std::string keys;
};

struct Pause {
    double seconds;
};

using Step = std::variant<Expectation, StartService, StartUnit, StopService, MakeRequest, TellUnit, TypeKeys, Pause>;

/// A step as it stands in a file.
struct StepLine {
    std::size_t number = 0;  ///< of the line, from 1
    std::string text;
    Step step;
};

struct Sequence {
    std::string name;  ///< of the file
    std::vector<StepLine> lines;

    template <class What>
    bool has() const
    {
        for (const StepLine& line : lines)
            if (std::holds_alternative<What>(line.step)) return true;
        return false;
    }
    bool expects(Kind kind) const
    {
        for (const StepLine& line : lines)
            if (const auto* const expected = std::get_if<Expectation>(&line.step); expected && expected->kind == kind)
                return true;
        return false;
    }
};

}  // namespace orvanectl

#endif
