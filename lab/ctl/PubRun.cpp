#include "lab/ctl/PubRun.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/AspnHelper.h"
#include "lab/ctl/NearestWord.h"
#include "lab/ctl/PubRecords.h"
#include "lab/ctl/TopicPublisher.h"
#include "lab/ctl/UnitClock.h"
#include "lab/ctl/WatchRun.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <poll.h>
#include <stdexcept>

namespace orvanectl {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// A longer pause between two lines is none of a record's own timing.
constexpr double kLongestPause = 3600;
constexpr std::chrono::seconds kArrival{5};

/// The number of a server, from its name or as it is.
std::uint8_t serverOf(const std::string& text)
{
    unsigned number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec == std::errc() && read.ptr == text.data() + text.size() && number <= 255)
        return static_cast<std::uint8_t>(number);
    std::vector<std::string> names;
    for (unsigned id = 0; id <= 255; ++id) {
        const std::string name = ASPN2::ServerIds::to_string(static_cast<std::uint8_t>(id));
        if (name == text) return static_cast<std::uint8_t>(id);
        if (name != "INVALID_SERVER_ID") names.push_back(name);
    }
    const std::string nearest = nearestWord(text, names);
    throw UnknownName(
        "no server \"" + printable(text) + "\"" +
        (nearest.empty() ? "; a number from 0 to 255 may stand here" : "; did you mean " + nearest + '?'));
}

/// Lines of a file, each with its number in what is thrown.
std::vector<PubRecord> recordsOf(const std::string& path)
{
    std::ifstream file;
    if (path != "-") file.open(path);
    std::istream& input = path == "-" ? std::cin : file;
    if (!input) throw std::runtime_error("cannot read " + path);
    std::vector<PubRecord> records;
    std::size_t number = 0;
    for (std::string line; std::getline(input, line);) {
        ++number;
        if (line.empty()) continue;
        try {
            if (auto record = recordOfLine(line)) records.push_back(std::move(*record));
        } catch (const FieldError& error) {
            throw FieldError((path == "-" ? "standard input" : path) + ':' + std::to_string(number) + ": " +
                             error.what());
        }
    }
    if (records.empty()) throw FieldError(path + ": no line is a record");
    return records;
}

class PubRun {
public:
    explicit PubRun(const PubOptions& options)
        : m_options(options), m_server(serverOf(options.server)), m_file(options.connections), m_records(records()),
          m_publisher(m_file, topics())
    {
        m_signals.listen();
    }

    /// The number of records that went out.
    std::uint64_t run()
    {
        const auto most = std::chrono::duration_cast<std::chrono::milliseconds>(Seconds(m_options.waitSeconds));
        const std::string lonely = m_publisher.waitForSubscribers(most, [this] { return m_signals.received(); });
        if (!lonely.empty() && !m_signals.received())
            throw std::runtime_error("nobody subscribes to topic " + printable(lonely) + " in domain " +
                                     printable(m_file.domain().at("DomainId")));
        const std::uint64_t count = countOfRecords();
        const auto start = Clock::now();
        std::uint64_t sent = 0;
        for (; sent < count && waitUntil(start + timeOf(sent)); ++sent) send(m_records[sent % m_records.size()]);
        if (!m_publisher.waitUntilArrived(kArrival))
            throw std::runtime_error("not all records have arrived within 5 s");
        return sent;
    }

private:
    std::vector<PubRecord> records() const
    {
        if (!m_options.file.empty()) return recordsOf(m_options.file);
        std::vector<PubRecord> one;
        one.push_back(recordOf(chooseTopics(m_file, {m_options.topic}, m_options.type).at(0), m_options.settings));
        return one;
    }

    /// Those of the records, each once.
    std::vector<WatchedTopic> topics() const
    {
        std::vector<WatchedTopic> topics;
        for (const PubRecord& record : m_records) {
            const auto known = std::ranges::find(topics, record.topic, &WatchedTopic::name);
            if (known == topics.end())
                topics.push_back({record.topic, record.type});
            else if (known->type != record.type)
                throw FieldError("topic " + printable(record.topic) + " has two types in the lines");
        }
        return topics;
    }

    std::uint64_t countOfRecords() const
    {
        if (m_options.count > 0) return m_options.count;
        if (m_options.rate > 0 && m_options.file.empty()) return std::numeric_limits<std::uint64_t>::max();
        return m_records.size();
    }

    /// When a record is due, after the start.
    Clock::duration timeOf(std::uint64_t number)
    {
        if (m_options.rate > 0)
            return std::chrono::duration_cast<Clock::duration>(Seconds(static_cast<double>(number) / m_options.rate));
        if (m_options.file.empty()) return {};
        const std::size_t index = number % m_records.size();
        const double valid = m_records[index].validSeconds();
        // Topics that take turns may go back a little; lines begun anew, and other clocks, are no pause.
        const bool isAnew = number == 0 || index == 0 || std::abs(valid - m_first - m_elapsed) > kLongestPause;
        if (isAnew) m_first = valid - m_elapsed;
        m_elapsed = std::max(m_elapsed, valid - m_first);
        return std::chrono::duration_cast<Clock::duration>(Seconds(m_elapsed));
    }

    /// False if a signal has come.
    bool waitUntil(Clock::time_point moment) const
    {
        pollfd signal{m_signals.descriptor(), POLLIN, 0};
        while (!m_signals.received()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now()).count();
            if (left <= 0) return true;
            ::poll(&signal, 1, static_cast<int>(std::min<decltype(left)>(left, 60'000)));
        }
        return false;
    }

    void send(const PubRecord& record)
    {
        stamp(record, m_options.stampsNow ? PubRecord::Given{.device = record.given.device} : record.given);
        m_publisher.publish(record.topic, record.record.get());
    }

    /// Fills in what of the header was not given.
    void stamp(const PubRecord& record, const PubRecord::Given& given)
    {
        auto& header = record.type->headerIn(record.record.get());
        if (!given.valid || !given.arrival) {
            if (!m_clock) m_clock.emplace(m_options.devices);
            const std::uint64_t now = m_clock->ticks();
            if (!given.valid) ASPN2::setToV_fromFpgaTicks(now, header);
            if (!given.arrival) ASPN2::setToA_fromFpgaTicks(now, header);
        }
        if (!given.number) header.seq_num(m_sequence[record.topic]++);
        if (!given.device)
            header.device_id(static_cast<std::int32_t>(std::uint32_t{1} << 24 | std::uint32_t{m_server} << 16));
    }

    const PubOptions& m_options;
    EndingSignals m_signals;  // before the threads of the publisher
    const std::uint8_t m_server;
    const ConnectionFile m_file;
    const std::vector<PubRecord> m_records;
    TopicPublisher m_publisher;
    std::optional<UnitClock> m_clock;
    std::map<std::string, std::int64_t> m_sequence;
    double m_elapsed = 0;  // s, of the lines' own times
    double m_first = 0;    // s, the time of a line that would have been due at the start
};

}  // namespace

void runPub(const PubOptions& options, std::ostream& output)
{
    PubRun run(options);
    const std::uint64_t sent = run.run();
    output << "orvanectl: " << sent << (sent == 1 ? " record" : " records") << " published\n";
    if (!output.flush()) throw std::runtime_error("cannot write to standard output");
}

}  // namespace orvanectl
