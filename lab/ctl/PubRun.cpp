#include "lab/ctl/PubRun.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/AspnHelper.h"
#include "aspn2_msgs/GSSIP.h"
#include "lab/ctl/FrameFields.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/PubRecords.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/TopicPublisher.h"
#include "lab/ctl/UnitClock.h"
#include "lab/ctl/WatchRun.h"
#include "lab/text/NearestWord.h"
#include "lab/unit/DeviceMap.h"
#include "lab/unit/QueueFeeder.h"
#include "lab/unit/RecordCopy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <poll.h>
#include <span>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// A longer pause between two lines is none of a record's own timing.
constexpr double kLongestPause = 3600;
constexpr std::chrono::seconds kArrival{5};
constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();
const std::string kQueueDevices = "/dev/mcs";

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
    const std::string nearest = labtext::nearestWord(text, names);
    throw UnknownName(
        "no server \"" + printable(text) + "\"" +
        (nearest.empty() ? "; a number from 0 to 255 may stand here" : "; did you mean " + nearest + '?'));
}

/// The number of a system, from its name or as it is.
std::uint8_t systemOf(const std::string& text)
{
    unsigned number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec == std::errc() && read.ptr == text.data() + text.size() && number <= 255)
        return static_cast<std::uint8_t>(number);
    if (const std::uint8_t id = ASPN2::SystemIds::from_string(text.c_str()); id != 0) return id;
    const std::string nearest = labtext::nearestWord(text, {"KOLT", "RENS", "SarventPlus"});
    throw UnknownName(
        "no system \"" + printable(text) + "\"; " +
        (nearest.empty() ? "KOLT, RENS, SarventPlus or a number from 0 to 255 is" : "did you mean " + nearest + '?'));
}

/// Lines of a file or of the standard input, read one at a time, each with its number in what is thrown.
class Lines {
public:
    /// @param signals  end the lines
    Lines(const std::string& path, const EndingSignals& signals)
        : m_name(path == "-" ? "standard input" : path), m_isStandardInput(path == "-"), m_signals(signals)
    {
        // A pipe that nobody writes to yet would keep signals waiting.
        if (!m_isStandardInput) m_file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (m_file < 0) refuse();
    }
    ~Lines()
    {
        if (!m_isStandardInput) ::close(m_file);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    /// The next record; none behind the last, and once a signal has come.
    std::optional<PubRecord> next()
    {
        for (std::string line; nextLine(line);) {
            ++m_number;
            if (line.empty()) continue;
            try {
                if (auto record = recordOfLine(line)) return record;
            } catch (const FieldError& error) {
                throw FieldError(m_name + ':' + std::to_string(m_number) + ": " + error.what());
            }
        }
        return std::nullopt;
    }

private:
    [[noreturn]] void refuse() const
    {
        throw std::runtime_error("cannot read " + m_name + ": " + std::generic_category().message(errno));
    }

    bool nextLine(std::string& line)
    {
        std::size_t searched = 0;
        for (;;) {
            const std::size_t end = m_read.find('\n', m_begin + searched);
            if (end != std::string::npos) {
                line = m_read.substr(m_begin, end - m_begin);
                m_begin = end + 1;
                return true;
            }
            m_read.erase(0, m_begin);
            m_begin = 0;
            searched = m_read.size();
            if (readMore()) continue;
            line = std::exchange(m_read, {});
            return !line.empty() && !m_signals.received();
        }
    }

    /// False at the end.
    bool readMore()
    {
        std::array<char, 65536> piece;
        while (!m_signals.received()) {
            pollfd waiting[] = {{m_file, POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}};
            if (::poll(waiting, std::size(waiting), -1) < 0 || m_signals.received()) continue;
            const ssize_t count = ::read(m_file, piece.data(), piece.size());
            if (count > 0) m_read.append(piece.data(), static_cast<std::size_t>(count));
            if (count >= 0) return count > 0;
            if (errno != EINTR && errno != EAGAIN) refuse();
        }
        return false;
    }

    const std::string m_name;
    const bool m_isStandardInput;
    const EndingSignals& m_signals;
    int m_file = STDIN_FILENO;
    std::string m_read;       // lines that are not taken begin at
    std::size_t m_begin = 0;  // this place
    std::size_t m_number = 0;
};

std::vector<PubRecord> recordsOf(const std::string& path, const EndingSignals& signals)
{
    Lines lines(path, signals);
    std::vector<PubRecord> records;
    while (auto record = lines.next()) records.push_back(std::move(*record));
    if (signals.received()) throw std::runtime_error(path + ": broken off by a signal, nothing published");
    if (records.empty()) throw FieldError(path + ": no line is a record");
    return records;
}

/// Sends records on their way, each to where it belongs.
class Outlet {
public:
    virtual ~Outlet() = default;

    /// Sees that there is somebody who takes such records; false once it is over.
    virtual bool open(const PubRecord& record) = 0;

    virtual void send(const PubRecord& record) = 0;

    /// Waits until all has arrived; throws `std::runtime_error` if it does not.
    virtual void close() = 0;

protected:
    Outlet() = default;
    Outlet(const Outlet&) = default;
    Outlet& operator=(const Outlet&) = default;
};

/// Keeps signals from threads that begin meanwhile.
class SignalsKept {
public:
    SignalsKept()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsKept() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsKept(const SignalsKept&) = delete;
    SignalsKept& operator=(const SignalsKept&) = delete;

private:
    sigset_t m_before;
};

/// DDS topics, a participant for those that are known at first and one for each that is met later.
class TopicOutlet : public Outlet {
public:
    TopicOutlet(const PubOptions& options, const ConnectionFile& file, const EndingSignals& signals)
        : m_options(options), m_file(file), m_signals(signals)
    {}

    /// @param records  whose topics are known
    void know(const std::vector<PubRecord>& records)
    {
        std::vector<WatchedTopic> topics;
        for (const PubRecord& record : records)
            if (isNew(record)) {
                topics.push_back({record.topic, record.type});
                m_topics[record.topic] = {record.type, m_publishers.size()};
            }
        if (!topics.empty()) add(topics);
    }

    bool open(const PubRecord& record) override
    {
        if (isNew(record)) {
            m_topics[record.topic] = {record.type, m_publishers.size()};
            add({{record.topic, record.type}});
        }
        return !m_signals.received();
    }

    void send(const PubRecord& record) override
    {
        m_publishers[m_topics.at(record.topic).publisher]->publish(record.topic, record.record.get());
    }

    void close() override
    {
        for (const auto& publisher : m_publishers)
            if (!publisher->waitUntilArrived(kArrival))
                throw std::runtime_error("not all records have arrived within 5 s");
    }

private:
    struct Known {
        const RecordType* type;
        std::size_t publisher;
    };

    bool isNew(const PubRecord& record) const
    {
        const auto known = m_topics.find(record.topic);
        if (known == m_topics.end()) return true;
        if (known->second.type != record.type)
            throw FieldError("topic " + printable(record.topic) + " has two types in the lines");
        return false;
    }

    void add(const std::vector<WatchedTopic>& topics)
    {
        const auto& publisher = [&]() -> const std::unique_ptr<TopicPublisher>& {
            const SignalsKept kept;
            return m_publishers.emplace_back(std::make_unique<TopicPublisher>(m_file, topics));
        }();
        const auto most = std::chrono::duration_cast<std::chrono::milliseconds>(Seconds(m_options.waitSeconds));
        const std::string lonely = publisher->waitForSubscribers(most, [this] { return m_signals.received(); });
        if (!lonely.empty() && !m_signals.received())
            throw std::runtime_error("nobody subscribes to topic " + printable(lonely) + " in domain " +
                                     printable(m_file.domain().at("DomainId")));
    }

    const PubOptions& m_options;
    const ConnectionFile& m_file;
    const EndingSignals& m_signals;
    std::map<std::string, Known> m_topics;
    std::vector<std::unique_ptr<TopicPublisher>> m_publishers;
};

/// A queue of the lab, which is a named pipe. The next frame waits until the one before was taken: a pipe has little
/// room, and loses what is in it when nobody has it open any more.
class QueueOutlet : public Outlet {
public:
    QueueOutlet(const PubOptions& options, const std::string& device, bool isReceiver, const EndingSignals& signals)
        : m_device(device), m_most(std::chrono::duration_cast<Clock::duration>(Seconds(options.waitSeconds))),
          m_feeder(device), m_signals(signals)
    {
        // What the desk copies, the tools that listen to the copy are to hear from here too.
        if (isReceiver)
            m_feeder.setCopy(
                [](std::span<const std::uint8_t> record) { unitsim::appendToCopy(unitsim::kReceiverCopy, record); });
    }

    bool open(const PubRecord&) override
    {
        close();
        return !m_signals.received();
    }

    void send(const PubRecord& record) override
    {
        try {
            m_feeder.send(*static_cast<const aspn2_msgs::idl::GSSIP*>(record.record.get()));
        } catch (const std::length_error& error) {
            throw FieldError(error.what());
        }
    }

    void close() override
    {
        const auto end = Clock::now() + m_most;
        while (m_feeder.waiting() > 0 && !m_signals.received()) {
            if (Clock::now() > end)
                throw std::runtime_error(m_device +
                                         ": nobody takes the frames; the service reads its queues once it runs");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (m_feeder.waiting() > 0)
            throw std::runtime_error(m_device + ": broken off by a signal before the latest frame was taken");
    }

private:
    const std::string m_device;
    const Clock::duration m_most;
    unitsim::QueueFeeder m_feeder;
    const EndingSignals& m_signals;
};

class PubRun {
public:
    explicit PubRun(const PubOptions& options)
        : m_options(options), m_frame(options.file.empty() ? findFrameKind(options.topic) : nullptr),
          m_system(systemOf(options.system)), m_server(serverOf(serverName()))
    {
        m_signals.listen();
        m_progress->say(m_frame                  ? "waits until the frame is taken"
                        : m_options.file.empty() ? "waits for subscribers"
                                                 : "waits for lines and for subscribers");
        if (m_frame) {
            m_records.push_back(frameRecord());
            m_outlet = std::make_unique<QueueOutlet>(
                options,
                kQueueDevices + std::to_string(unitsim::DeviceMap(options.devices).port(std::string(m_frame->queue))),
                m_frame->queue == kReceiverQueue, m_signals);
        } else {
            m_file.emplace(options.connections);
            auto topics = std::make_unique<TopicOutlet>(options, *m_file, m_signals);
            if (isStream())
                m_lines.emplace(options.file, m_signals);
            else
                m_records = records();
            topics->know(m_records);
            m_outlet = std::move(topics);
        }
    }

    /// The number of records that went out. Throws `std::runtime_error` too when a signal has come before all did, or
    /// before the first where there is no end.
    std::uint64_t run()
    {
        const std::uint64_t count = countOfRecords();
        auto start = Clock::now();
        std::uint64_t sent = 0;
        while (sent < count) {
            const PubRecord* const record = nextRecord(sent);
            if (!record) break;
            const auto before = Clock::now();
            if (!m_outlet->open(*record)) break;
            if (sent == 0) start = Clock::now();
            // To find a subscriber takes no time of the lines.
            else if (m_lines)
                start += Clock::now() - before;
            if (!waitUntil(start + timeOf(*record, sent))) break;
            stamp(*record, m_options.stampsNow ? PubRecord::Given{.device = record->given.device} : record->given);
            m_outlet->send(*record);
            ++sent;
            m_progress->say("publishes, " + std::to_string(sent) +
                            (count == kEndless ? "" : " of " + std::to_string(count)) + " so far");
        }
        if (isStream() && sent == 0 && !m_signals.received()) throw FieldError("standard input: no line is a record");
        m_outlet->close();
        m_progress.reset();
        const bool isEndless = count == kEndless;
        if (m_signals.received() && sent < (isEndless ? 1 : count))
            throw std::runtime_error(std::to_string(sent) + (isEndless ? "" : " of " + std::to_string(count)) +
                                     (m_frame ? " frames sent" : " records published") + ", broken off by a signal");
        return sent;
    }

    const FrameKind* frame() const { return m_frame; }

private:
    bool isStream() const { return m_options.file == "-"; }

    std::string serverName() const
    {
        if (!m_options.server.empty()) return m_options.server;
        return m_frame ? std::string(m_frame->server) : "HalvexNavigator";
    }

    std::vector<PubRecord> records() const
    {
        if (!m_options.file.empty()) return recordsOf(m_options.file, m_signals);
        const bool isTopic = std::ranges::find(m_file->topics(), m_options.topic, &ConnectionFile::Topic::name) !=
                             m_file->topics().end();
        const std::string frame = labtext::nearestWord(m_options.topic, frameNames());
        if (!isTopic && m_options.type.empty() && !frame.empty())
            throw UnknownName("no topic \"" + printable(m_options.topic) + "\", and no frame; did you mean " + frame +
                              '?');
        std::vector<PubRecord> one;
        one.push_back(recordOf(chooseTopics(*m_file, {m_options.topic}, m_options.type).at(0), m_options.settings));
        return one;
    }

    /// What is set of the header is the record's, the rest the frame's.
    PubRecord frameRecord() const
    {
        std::vector<std::string> ofHeader, ofFrame;
        for (const std::string& setting : m_options.settings)
            (setting.starts_with("header.") ? ofHeader : ofFrame).push_back(setting);
        PubRecord made = recordOf({m_options.topic, findRecordType("GSSIP")}, ofHeader);
        auto bytes = m_options.hex.empty() ? frameOf(*m_frame, ofFrame) : frameOfHex(m_options.hex);
        auto& record = *static_cast<aspn2_msgs::idl::GSSIP*>(made.record.get());
        record.num_bytes(static_cast<std::int32_t>(bytes.size()));
        record.data(std::move(bytes));
        return made;
    }

    const PubRecord* nextRecord(std::uint64_t number)
    {
        if (!m_lines) return &m_records[static_cast<std::size_t>(number % m_records.size())];
        m_line = m_lines->next();
        return m_line ? &*m_line : nullptr;
    }

    std::uint64_t countOfRecords() const
    {
        if (m_options.count > 0) return m_options.count;
        const bool isEndless = m_lines || (m_options.rate > 0 && m_options.file.empty());
        return isEndless ? kEndless : m_records.size();
    }

    /// When a record is due, after the start.
    Clock::duration timeOf(const PubRecord& record, std::uint64_t number)
    {
        if (m_options.rate > 0)
            return std::chrono::duration_cast<Clock::duration>(Seconds(static_cast<double>(number) / m_options.rate));
        if (m_options.file.empty()) return {};
        const double valid = record.validSeconds();
        const bool isFirst = number == 0 || (!m_lines && number % m_records.size() == 0);
        // Topics that take turns may go back a little; lines begun anew, and other clocks, are no pause.
        const bool isAnew = isFirst || std::abs(valid - m_first - m_elapsed) > kLongestPause;
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
            header.device_id(static_cast<std::int32_t>(std::uint32_t{m_system} << 24 | std::uint32_t{m_server} << 16));
    }

    const PubOptions& m_options;
    EndingSignals m_signals;  // before the threads of the outlet
    std::optional<Progress> m_progress{std::in_place, STDERR_FILENO};
    const FrameKind* const m_frame;
    const std::uint8_t m_system;
    const std::uint8_t m_server;
    std::optional<ConnectionFile> m_file;
    std::vector<PubRecord> m_records;
    std::optional<Lines> m_lines;     // that are read as they come
    std::optional<PubRecord> m_line;  // the latest of these
    std::unique_ptr<Outlet> m_outlet;
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
    const char* const what = run.frame() ? " frame" : " record";
    output << "orvanectl: " << sent << what << (sent == 1 ? "" : "s") << (run.frame() ? " sent\n" : " published\n");
    if (!output.flush()) throw std::runtime_error("cannot write to standard output");
}

}  // namespace orvanectl
