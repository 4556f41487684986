#ifndef LAB_CTL_REPORT_BUSREPORT_H
#define LAB_CTL_REPORT_BUSREPORT_H

#include "lab/ctl/report/Course.h"
#include "lab/ctl/report/EndsList.h"
#include "lab/ctl/report/Regularity.h"
#include "lab/ctl/report/Spread.h"
#include "lab/ctl/serve/ThinnedList.h"
#include "lab/ctl/top/BusBoard.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvanectl {

/// What the lines of the bus tell over the time of a recording. Times are seconds since its start and must not go back.
/// One thread at a time.
class BusReport {
public:
    /// @param seconds  when it came
    /// @param told     when it was told, by its own time
    void take(const Json& line, double seconds, double told);

    /// Something of the topics that has to do with clearing data, or with built-in tests.
    void noteClearData(double seconds, const std::string& text) { note(m_clearData, seconds, text); }
    void noteBuiltInTest(double seconds, const std::string& text) { note(m_builtInTests, seconds, text); }

    std::uint64_t lines() const { return m_lines; }

    /// `publications`, `errors`, `gps` and for how many seconds it was `gpsLost`, `threats`, `warnings`, `service`,
    /// `clearData` and `builtInTests`.
    Json json() const;

private:
    struct Span {
        double from, to;
        std::string text;
    };
    struct Mark {
        double seconds;
        std::string text;
    };
    struct Error {
        Course course;
        Spread spread;
    };
    /// Something that is so for a time.
    struct Spans {
        explicit Spans(std::size_t most) : closed(most) {}
        void extend(const std::string& text, double seconds);
        void closeOthers(double seconds);
        Json json() const;

        EndsList<Span> closed;
        std::map<std::string, Span> open;
    };

    static constexpr std::size_t kMostNames = 24;
    static constexpr std::size_t kMostMarks = 150;  // of either end, as spans
    static constexpr std::size_t kMostLooks = 240;  // at threats
    static constexpr std::size_t kMostRows = 50;    // as the bus has at the most
    static constexpr std::size_t kMostOpen = 100;   // that are so at one time; more of them are left out
    static constexpr std::size_t kLongestText = 300;

    void takeTell(const Json& line, double seconds, double told);
    void takeNavigation(const Json& record, double seconds);
    void takeThreats(const Json& record, double seconds);
    void takeWarnings(const Json& record, double seconds);
    static void note(EndsList<Mark>& marks, double seconds, const std::string& text);
    static Json marksJson(const EndsList<Mark>& marks);

    std::uint64_t m_lines = 0;
    std::vector<std::pair<std::string, Regularity>> m_publications;
    std::map<std::string, Error> m_errors;
    Spans m_gps{kMostMarks};
    std::optional<double> m_lostSince;  // GPS, or since the last record that said so
    double m_gpsLost = 0;
    Spans m_warnings{kMostMarks};
    ThinnedList<Json> m_threats{kMostLooks, 0.5};
    Course m_threatCount;
    EndsList<Mark> m_service{kMostMarks};
    EndsList<Mark> m_clearData{kMostMarks};
    EndsList<Mark> m_builtInTests{kMostMarks};
    BusBoard m_board;
};

}  // namespace orvanectl

#endif
