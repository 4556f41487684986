#ifndef FUZZ_MODEL_NAVIGATIONMODEL_H
#define FUZZ_MODEL_NAVIGATIONMODEL_H

#include "fuzz/model/Log.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <optional>
#include <string>

/// Blended Navigation and the availability of GPS, as clients of the bus and the reader of the event log see them: six
/// inputs that belong together go out, once.
class NavigationModel {
public:
    enum Kind { Time, Position, Solution, Measurements, Assurance, Receiver };
    static constexpr std::size_t kKinds = 6;

    struct Input {
        int quarters = 0;      ///< time of validity, in quarters of a second
        int mark = 0;          ///< what the output shows of it
        bool isWhole = true;   ///< false for a receiver's record that is too short
        int measurements = 0;  ///< of GPS
    };

    enum class Change { None, Lost, Back };

    explicit NavigationModel(Log& log) : m_log(log) {}

    bool isGpsLost() const { return m_isLost; }

    /// The mark of the newest time, 0 before the first.
    int latestTime() const { return m_latestTime; }

    /// An input from the source that the settings name. @return what it says of GPS
    Change arrive(Kind kind, const Input& input)
    {
        m_inputs[kind] = input;
        if (kind == Time) m_latestTime = input.mark;
        if (kind != Measurements) return Change::None;
        m_counts.push_back(input.measurements);
        m_counts.pop_front();
        const auto enough = std::ranges::count_if(m_counts, [](int count) { return count >= 2; });
        if (!m_isLost && enough == 0) {
            m_isLost = true;
            return Change::Lost;
        }
        if (m_isLost && enough == std::ssize(m_counts)) {
            m_isLost = false;
            return Change::Back;
        }
        return Change::None;
    }

    /// A turn of the worker.
    void turn(bool isBusUp)
    {
        if (!m_inputs[Time]) return;
        for (const auto& input : m_inputs)
            if (!input || std::abs(input->quarters - m_inputs[Time]->quarters) >= 4) return;
        if (!m_inputs[Receiver]->isWhole) {
            // Used up.
        } else if (isBusUp) {
            m_log.push_back(lineOf({m_inputs[Time]->mark, m_inputs[Position]->mark, m_inputs[Solution]->mark,
                                    m_isLost ? 1 : 0, m_inputs[Assurance]->mark, m_inputs[Receiver]->mark}));
        } else {
            m_log.push_back("event 3 OrvaneServer: Cannot publish APNT Blended Navigation data while APNT service is "
                            "not running!");
        }
        m_inputs = {};
    }

    /// What is told, in the order of the kinds; in place of measurements whether GPS is lost.
    static std::string lineOf(const std::array<int, kKinds>& marks)
    {
        std::string line = "navigation";
        for (const int mark : marks) line += " " + std::to_string(mark);
        return line;
    }

private:
    std::array<std::optional<Input>, kKinds> m_inputs;  // since the last output
    int m_latestTime = 0;
    std::deque<int> m_counts = {0, 0, 0};
    bool m_isLost = false;
    Log& m_log;
};

#endif
