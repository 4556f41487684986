#include "aspn2_msgs/GSSIP.h"
#include "bench/Figure.h"
#include "bench/Processor.h"
#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/FrameFields.h"
#include "lab/ctl/TopicPublisher.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/mcap/File.h"
#include "lab/mcap/Reader.h"
#include "tests/support/Desk.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <span>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

// What the tool costs: its start, what it takes to follow many samples, to decode, to play and to show a live page.
//
//     lab/sandbox -- bench_tools [STARTS [SECONDS]]
//
// Milliseconds from the exec to the exit of verbs that need no DDS, of STARTS each; beside them, in turn, a program
// with the same libraries that does nothing. What `decode` handles in a second of its own time on the processor, but
// for its start and end. `serve`, with the service and unit-sim at 1 Hz, and up to 16 that look on. Then the time on
// the processor of `echo --json` and `record`, and how many samples they lost, over SECONDS with 2,000 samples a second
// of all topics over shared memory; beside them a program of the bare library that hears the same topics. At last
// `play`, as `decode`.

namespace {

using Clock = std::chrono::steady_clock;
using orvanectl::Json;
using Words = std::vector<std::string>;

constexpr const char* kConnections = "/opt/halvex/config/Connections.xml";
constexpr const char* kFollowed = "/tmp/followed";  // what echo and record print
constexpr const char* kRecording = "/tmp/bench.mcap";
constexpr int kSamplesASecond = 2000;
constexpr std::chrono::nanoseconds kInterval(1'000'000'000 / kSamplesASecond);
constexpr int kTurnsBefore = 10;  // of all topics, before samples count
constexpr int kPlayed = 20'000;   // messages

/// Frames that are decoded: in each form as many as take far longer than its start.
struct Decoding {
    const char* form;
    const char* kind;
    int frames;
};
constexpr Decoding kDecodings[] = {
    {"json", "5044", 1'000'000}, {"json", "8504", 250'000}, {"text", "5044", 50'000}, {"text", "8504", 10'000}};

Words tool(const Words& arguments)
{
    Words words = {ORVANE_CTL};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

/// What a program took from its exec to its exit.
struct Cost {
    double milliseconds = 0.0;
    double processorSeconds = 0.0;
};

/// Runs a program that has nothing to read and writes to nobody. Throws if its status is not 0.
Cost run(const Words& arguments)
{
    std::vector<char*> words;
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    const auto begin = Clock::now();
    pid_t process = -1;
    const int error = posix_spawn(&process, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot run " + arguments[0]);
    int status = 0;
    rusage used{};
    while (wait4(process, &status, 0, &used) < 0)
        if (errno != EINTR) throw std::runtime_error("cannot wait for " + arguments[0]);
    const double lasted = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(arguments.at(1 % arguments.size()) + ": it ended badly");
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {lasted, seconds(used.ru_utime) + seconds(used.ru_stime)};
}

/// How many of something a program handles.
struct Rate {
    double perProcessorSecond = 0.0;
    double perSecond = 0.0;  ///< of the clock
};

/// Of what comes between a run with few of them and one with many, so that start and end are no part of it.
/// @param prepare  makes what the program takes, so many
Rate rateOf(const Words& words, int many, const std::function<void(int)>& prepare)
{
    const int few = many / 100;
    std::vector<double> processorSeconds, milliseconds;
    prepare(few);
    for (int i = 0; i < 3; ++i) {
        const Cost cost = run(words);
        processorSeconds.push_back(cost.processorSeconds);
        milliseconds.push_back(cost.milliseconds);
    }
    prepare(many);
    const Cost cost = run(words);
    const double processor = cost.processorSeconds - median(processorSeconds);
    const double clock = (cost.milliseconds - median(milliseconds)) / 1e3;
    if (processor <= 0 || clock <= 0) throw std::runtime_error(words.at(1) + ": many took no longer than few");
    return {(many - few) / processor, (many - few) / clock};
}

void expectGoodEnd(ChildProcess& process)
{
    if (process.wait() != ChildProcess::Ending{0, 0})
        throw std::runtime_error("it ended badly: " + process.output() + process.errors());
}

void end(ChildProcess& process, int signal = SIGTERM)
{
    process.send(signal);
    expectGoodEnd(process);
}

std::string textOf(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::size_t occurrences(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}

/// A frame of a kind that the unit sends, with numbers that have all their digits where it has some.
std::vector<std::uint8_t> frameOf(const std::string& kind)
{
    Words settings;
    if (kind == "8504")
        for (const char* field : {"field008", "field016", "field022", "field028", "field036", "field044", "field052",
                                  "field056", "field060", "field064", "field068", "angle084", "field122", "field126"})
            settings.push_back(field + ("=0.1234567891" + std::to_string(settings.size())));
    return orvanectl::frameOf(*orvanectl::findFrameKind(kind), settings);
}

/// Writes a file of so many frames.
void writeFrames(const std::string& path, const std::string& kind, int count)
{
    const auto frame = frameOf(kind);
    std::ofstream file(path, std::ios::binary);
    for (int i = 0; i < count; ++i)
        file.write(reinterpret_cast<const char*>(frame.data()), static_cast<std::streamsize>(frame.size()));
}

/// Gives all numbers with a fraction other values.
void fill(Json& value, double& next)
{
    if (value.is_number_float())
        value = next += 0.01234567891;
    else if (value.is_structured())
        for (Json& member : value) fill(member, next);
}

/// A record of a type, as full as those of a unit.
orvanectl::RecordPointer recordOf(const orvanectl::RecordType& type)
{
    orvanectl::RecordPointer record = type.make();
    Json fields = type.fieldsOf(record.get());
    double next = 0.1;
    fill(fields, next);
    if (type.name == "MeasurementIncorporationStatus")
        fields["meas_types"] = Json(10, {{"meas_set_id", 1}, {"meas_avail", 8}, {"meas_used", 7}});
    if (type.name == "EventLog") fields["eventlog"] = "OrvaneServer started successfully.";
    type.setFields(record.get(), fields, {});
    return record;
}

/// Samples of all topics, by the numbers that their sources count by.
struct Numbers {
    std::int64_t first;
    std::int64_t end;  ///< is none of them

    bool contains(std::int64_t number) const { return number >= first && number < end; }
};

/// Publishes on all topics of the unit in turn. The samples of a turn have the same number.
class Source {
public:
    Source() : m_publisher(m_file, m_topics)
    {
        for (const auto& topic : m_topics) m_records.push_back(recordOf(*topic.type));
    }

    const std::vector<orvanectl::WatchedTopic>& topics() const { return m_topics; }

    /// What is to count for the one that follows next: as many as come in this time, in whole turns.
    Numbers nextThatCount(std::chrono::seconds duration) const
    {
        const auto samples = static_cast<std::int64_t>(duration.count()) * kSamplesASecond;
        const auto topics = static_cast<std::int64_t>(m_topics.size());
        const std::int64_t first = m_number + kTurnsBefore;
        return {first, first + (samples + topics - 1) / topics};
    }

    std::int64_t samplesOf(const Numbers& numbers) const
    {
        return (numbers.end - numbers.first) * static_cast<std::int64_t>(m_topics.size());
    }

    /// Percent of a processor that a program has that follows all topics, while those are sent that count. What it
    /// lacks of them shows by the turn that comes behind.
    double follow(const ChildProcess& process, const Numbers& counted)
    {
        waitForSubscribers();
        while (m_number < counted.first) {  // has all topics heard and all memory had
            publishTurn([] {});
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        const double share = processorShare(process.id(), [&] {
            auto next = Clock::now();
            while (m_number < counted.end) publishTurn([&] { std::this_thread::sleep_until(next += kInterval); });
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        publishTurn([] {});
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return share;
    }

private:
    void waitForSubscribers() const
    {
        const std::string lonely = m_publisher.waitForSubscribers(ChildProcess::kDeadline, [] { return false; });
        if (!lonely.empty()) throw std::runtime_error("nobody subscribes to " + lonely);
    }

    /// One of each topic.
    void publishTurn(const std::function<void()>& beforeEach)
    {
        for (std::size_t i = 0; i < m_topics.size(); ++i) {
            beforeEach();
            const auto& [name, type] = m_topics[i];
            type->headerIn(m_records[i].get()).seq_num(m_number);
            m_publisher.publish(name, m_records[i].get());
        }
        ++m_number;
    }

    const orvanectl::ConnectionFile m_file{kConnections};
    const std::vector<orvanectl::WatchedTopic> m_topics = orvanectl::chooseTopics(m_file, {}, "");
    orvanectl::TopicPublisher m_publisher;
    std::vector<orvanectl::RecordPointer> m_records;
    std::int64_t m_number = 0;
};

/// Tells how many were lost: of those that count, or by what the program itself has told if that is more.
void tellLost(const std::string& name, const std::string& side, std::int64_t sent, std::int64_t came, std::int64_t told)
{
    if (came > sent) throw std::runtime_error(name + ": more came than were sent");
    tellFigure(name + ".lost", side, "samples", static_cast<double>(std::max(sent - came, told)));
}

/// How many of its lines are records that count.
std::int64_t countedIn(const std::string& text, const Numbers& counted)
{
    std::int64_t count = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("{\"kind\":\"record\"")) continue;
        if (counted.contains(Json::parse(line).at("header").at("seq_num").get<std::int64_t>())) ++count;
    }
    return count;
}

/// Counts the messages of a recording that count.
class CountingSink : public mcap::RecordSink {
public:
    explicit CountingSink(const Numbers& counted) : m_counted(counted) {}
    void message(const mcap::Message& message) override { m_count += m_counted.contains(message.sequence) ? 1 : 0; }
    std::int64_t count() const { return m_count; }

private:
    const Numbers m_counted;
    std::int64_t m_count = 0;
};

void measureBareFollowing(Source& source, std::chrono::seconds duration)
{
    const Numbers counted = source.nextThatCount(duration);
    ChildProcess bare({ORVANE_BARE_TOOL, "watch", std::to_string(counted.first), std::to_string(counted.end)});
    const double share = source.follow(bare, counted);
    end(bare);
    for (const char* name : {"tool.echo", "tool.record"}) {
        tellFigure(name, "floor", "%", share);
        tellLost(name, "floor", source.samplesOf(counted), std::stoll(bare.output()), 0);
    }
}

void measureEcho(Source& source, std::chrono::seconds duration)
{
    const Numbers counted = source.nextThatCount(duration);
    Words words = tool({"echo", "--json"});
    for (const auto& topic : source.topics()) words.push_back(topic.name);
    std::ofstream{kFollowed};
    ChildProcess echo(words, "/dev/null", kFollowed);
    tellFigure("tool.echo", "ours", "%", source.follow(echo, counted));
    end(echo, SIGINT);
    const std::string text = textOf(kFollowed);
    const auto sum = Json::parse(text.substr(text.rfind("{\"kind\":\"sum\"")));
    tellLost("tool.echo", "ours", source.samplesOf(counted), countedIn(text, counted),
             std::max(sum.at("lost").get<std::int64_t>(), sum.at("left_out").get<std::int64_t>()));
    std::filesystem::remove(kFollowed);
}

void measureRecord(Source& source, std::chrono::seconds duration)
{
    const Numbers counted = source.nextThatCount(duration);
    std::filesystem::remove(kRecording);
    ChildProcess record(tool({"record", "-o", kRecording}));
    tellFigure("tool.record", "ours", "%", source.follow(record, counted));
    end(record, SIGINT);
    const std::string text = record.output();
    int messages = 0, missed = 0;
    double seconds = 0;
    if (std::sscanf(text.c_str(), "orvanectl: %d messages in %lf s, %d missed", &messages, &seconds, &missed) != 3)
        throw std::runtime_error("what it recorded is not told: " + text);
    const mcap::FileSource recording(kRecording);
    CountingSink sink(counted);
    mcap::scan(recording, sink);
    tellLost("tool.record", "ours", source.samplesOf(counted), sink.count(), missed);
}

void measureFollowing(std::chrono::seconds duration)
{
    Source source;
    measureBareFollowing(source, duration);
    measureEcho(source, duration);
    measureRecord(source, duration);
}

void measureStarts(int count)
{
    struct Verb {
        const char* name;
        Words words;
        std::vector<double> milliseconds;
    };
    writeFrames("/tmp/frame.bin", "8504", 1);
    Verb verbs[] = {{"help", tool({"--help"}), {}},
                    {"decode", tool({"decode", "/tmp/frame.bin"}), {}},
                    {"check", tool({"check"}), {}},
                    {"info", tool({"info", "/tmp/small.mcap"}), {}}};
    std::vector<double> bare;
    for (int i = 0; i < count; ++i) {
        bare.push_back(run({ORVANE_BARE_TOOL}).milliseconds);
        for (Verb& verb : verbs) verb.milliseconds.push_back(run(verb.words).milliseconds);
    }
    for (const Verb& verb : verbs) {
        tellDistribution(std::string("tool.start.") + verb.name, "floor", "ms", bare);
        tellDistribution(std::string("tool.start.") + verb.name, "ours", "ms", verb.milliseconds);
    }
}

/// Frames, and bytes, that it decodes in a second of its time on the processor, and how long a line of JSON is.
void measureDecoding()
{
    constexpr const char* kFrames = "/tmp/frames.bin";
    for (const auto& [form, kind, frames] : kDecodings) {
        Words words = tool({"decode", kFrames});
        const bool isJson = form == std::string("json");
        if (isJson) words.push_back("--json");
        const Rate rate = rateOf(words, frames, [&](int count) { writeFrames(kFrames, kind, count); });
        const std::string name = std::string("tool.decode.") + form + '.' + kind;
        tellFigure(name, "ours", "1/s", rate.perProcessorSecond);
        tellFigure(name + ".bytes", "ours", "MB/s",
                   rate.perProcessorSecond * static_cast<double>(frameOf(kind).size()) / 1e6);
        if (!isJson) continue;
        writeFrames(kFrames, kind, 1);
        ChildProcess decode(words);
        expectGoodEnd(decode);
        tellFigure(name + ".line", "ours", "bytes", static_cast<double>(decode.output().size()));
    }
    std::filesystem::remove(kFrames);
}

/// Writes a recording of so many messages of a topic or, where there is none of the name, of a queue.
void writeRecording(const std::string& path, const std::string& topic, int count)
{
    const orvanectl::ConnectionFile connections(kConnections);
    const bool isQueue = topic == "ZEN_HX";
    std::filesystem::remove(path);
    mcap::FileOutput output(path);
    const auto topics =
        isQueue ? std::vector<orvanectl::WatchedTopic>{} : orvanectl::chooseTopics(connections, {topic}, "");
    orvanectl::Recorder recorder(output, topics, isQueue ? Words{topic} : Words{}, {});
    std::vector<std::uint8_t> payload;
    if (isQueue) {
        aspn2_msgs::idl::GSSIP record;
        record.data(frameOf("8504"));
        record.num_bytes(static_cast<std::int32_t>(record.data().size()));
        payload = orvanectl::payloadOf(*orvanectl::findRecordType("GSSIP"), &record);
    } else {
        payload = orvanectl::payloadOf(*topics[0].type, recordOf(*topics[0].type).get());
    }
    for (int i = 0; i < count; ++i) {
        const auto time = static_cast<std::uint64_t>(i + 1) * 1'000'000;
        if (isQueue)
            recorder.takeQueueRecord(0, payload, i, time);
        else
            recorder.takePayload(0, payload, i, static_cast<std::int64_t>(time), time);
    }
    recorder.close({});
}

/// Runs something over and over on a thread of its own, until destruction.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> turn)
        : m_thread([this, turn = std::move(turn)] {
              while (!m_isOver) turn();
          })
    {}
    ~Meanwhile()
    {
        m_isOver = true;
        m_thread.join();
    }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

private:
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

/// Messages of a topic or a queue that are played in a second of the tool's time on the processor, and of the clock.
Rate measurePlay(const std::string& name, const std::string& topic)
{
    const Rate rate = rateOf(tool({"play", kRecording, "--fast", "--wait", "30"}), kPlayed,
                             [&](int count) { writeRecording(kRecording, topic, count); });
    tellFigure(name, "ours", "1/s", rate.perProcessorSecond);
    tellFigure(name + ".clock", "ours", "1/s", rate.perSecond);
    return rate;
}

void measurePlaying()
{
    {
        const orvanectl::ConnectionFile connections(kConnections);
        orvanectl::TopicWatch watch(connections, orvanectl::chooseTopics(connections, {"UTCTime"}, ""), {});
        const Meanwhile taken([&] {
            pollfd waiting{watch.samples().descriptor(), POLLIN, 0};
            ::poll(&waiting, 1, 50);
            watch.samples().take();
        });
        measurePlay("tool.play.topic", "UTCTime");
    }
    {
        const int queue = ::open("/dev/mcs5", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (queue < 0) throw std::runtime_error("no queue");
        {
            // It ends before the queue is closed.
            const Meanwhile read([queue, bytes = std::vector<char>(131072)]() mutable {
                pollfd waiting{queue, POLLIN, 0};
                if (::poll(&waiting, 1, 50) > 0 && ::read(queue, bytes.data(), bytes.size()) < 0 && errno != EAGAIN)
                    throw std::runtime_error("the queue can't be read");
            });
            const Rate rate = measurePlay("tool.play.queue", "ZEN_HX");
            tellFigure("tool.play.queue.bytes", "ours", "MB/s",
                       rate.perProcessorSecond * static_cast<double>(frameOf("8504").size()) / 1e6);
        }
        ::close(queue);
    }
    std::filesystem::remove(kRecording);
}

/// Looks on: asks for the events of a page, and counts what comes.
class Viewer {
public:
    explicit Viewer(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const std::string request = "GET /events HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n\r\n";
        if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            std::cmp_not_equal(::send(m_socket, request.data(), request.size(), MSG_NOSIGNAL), request.size()))
            throw std::runtime_error("the page is not there");
    }
    ~Viewer() { ::close(m_socket); }
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    int socket() const { return m_socket; }

    /// What is there to read.
    void read()
    {
        char part[65536];
        const ssize_t count = ::recv(m_socket, part, sizeof part, MSG_DONTWAIT);
        if (count <= 0) throw std::runtime_error("the page shows no more");
        m_events += occurrences({part, static_cast<std::size_t>(count)}, "data: {");
    }

    /// So far; one that comes in two parts may be missing.
    std::size_t events() const { return m_events; }

private:
    int m_socket;
    std::size_t m_events = 0;
};

/// Has all of them read what comes, for so long.
void look(std::vector<std::unique_ptr<Viewer>>& viewers, std::chrono::milliseconds duration)
{
    std::vector<pollfd> waiting;
    for (const auto& viewer : viewers) waiting.push_back({viewer->socket(), POLLIN, 0});
    for (const auto end = Clock::now() + duration; Clock::now() < end;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        ::poll(waiting.data(), waiting.size(), static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        for (std::size_t i = 0; i < viewers.size(); ++i)
            if (waiting[i].revents != 0) viewers[i]->read();
    }
}

void measureServing(Desk& desk, std::chrono::seconds duration)
{
    desk.run();
    ChildProcess unit({ORVANE_UNIT_SIM, "--rate", "1", "--quiet"});
    Bus().awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    ChildProcess serve(tool({"serve", "--port", "0", "--socket", "/tmp/bus"}));
    if (!eventually([&] { return serve.output().ends_with("/\n"); })) throw std::runtime_error("no page");
    const std::string address = serve.output();
    const int port = std::stoi(address.substr(address.rfind(':') + 1));
    std::vector<std::unique_ptr<Viewer>> viewers;
    for (const std::size_t count : {0U, 1U, 4U, 16U}) {
        while (viewers.size() < count) viewers.push_back(std::make_unique<Viewer>(port));
        look(viewers, std::chrono::seconds(1));
        tellFigure("tool.serve." + std::to_string(count), "ours", "%",
                   processorShare(serve.id(), [&] { look(viewers, duration); }));
    }
    if (std::ranges::any_of(viewers, [](const auto& viewer) { return viewer->events() < 2; }))
        throw std::runtime_error("somebody looks on and sees nothing");
    end(serve);
    end(unit);
    end(desk.service());
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const int starts = argc > 1 ? std::stoi(argv[1]) : 20;
        const std::chrono::seconds duration(argc > 2 ? std::stoi(argv[2]) : 5);
        if (starts < 1 || duration.count() < 1) throw std::invalid_argument("at least one start and one second");
        Desk desk;
        writeRecording("/tmp/small.mcap", "UTCTime", 100);
        measureStarts(starts);
        measureDecoding();
        measureServing(desk, duration);
        desk.replace("Connections.xml", "<UseTransport>UDP<", "<UseTransport>SHM<");
        measureFollowing(duration);
        measurePlaying();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench_tools: " << error.what() << std::endl;
        return 1;
    }
}
