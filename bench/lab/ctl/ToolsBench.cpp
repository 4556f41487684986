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
#include "tests/support/Desk.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
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
// Milliseconds from the exec to the exit of verbs that need no DDS, of STARTS each; beside them, in turn, a program with
// the same libraries that does nothing. Then the time on the processor of `echo --json` and `record`, and how many
// samples they lost, over SECONDS with 2,000 samples a second of all topics over shared memory; beside them a program
// of the bare library that hears the same topics. What `decode` and `play` handle in a second of their own time on the
// processor. At last `serve`, with the service and unit-sim at 1 Hz, and up to 16 that look on.

namespace {

using Clock = std::chrono::steady_clock;
using orvanectl::Json;
using Words = std::vector<std::string>;

constexpr const char* kConnections = "/opt/halvex/config/Connections.xml";
constexpr const char* kFollowed = "/tmp/followed";  // what echo and record print
constexpr const char* kRecording = "/tmp/bench.mcap";
constexpr int kSamplesASecond = 2000;
constexpr int kDecoded = 50'000;  // frames
constexpr int kPlayed = 20'000;   // messages

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

/// Publishes on all topics of the unit in turn.
class Source {
public:
    Source() : m_publisher(m_file, m_topics)
    {
        for (const auto& topic : m_topics) m_records.push_back(recordOf(*topic.type));
    }

    const std::vector<orvanectl::WatchedTopic>& topics() const { return m_topics; }

    void waitForSubscribers() const
    {
        const std::string lonely = m_publisher.waitForSubscribers(ChildProcess::kDeadline, [] { return false; });
        if (!lonely.empty()) throw std::runtime_error("nobody subscribes to " + lonely);
    }

    /// One of each.
    void publishAll()
    {
        for (std::size_t i = 0; i < m_topics.size(); ++i) publishNext();
    }

    /// As many as are to come in this time.
    int publishFor(std::chrono::seconds duration)
    {
        const int count = static_cast<int>(duration.count()) * kSamplesASecond;
        auto next = Clock::now();
        for (int i = 0; i < count; ++i) {
            std::this_thread::sleep_until(next += std::chrono::nanoseconds(1'000'000'000 / kSamplesASecond));
            publishNext();
        }
        return count;
    }

private:
    void publishNext()
    {
        const auto& [name, type] = m_topics[m_next];
        type->headerIn(m_records[m_next].get()).seq_num(m_number);
        m_publisher.publish(name, m_records[m_next].get());
        if (++m_next == m_topics.size()) {
            m_next = 0;
            ++m_number;
        }
    }

    const orvanectl::ConnectionFile m_file{kConnections};
    const std::vector<orvanectl::WatchedTopic> m_topics = orvanectl::chooseTopics(m_file, {}, "");
    orvanectl::TopicPublisher m_publisher;
    std::vector<orvanectl::RecordPointer> m_records;
    std::size_t m_next = 0;
    std::int64_t m_number = 0;
};

/// Percent of a processor that a program has that follows all topics for so long; `sent` is then how many samples came.
/// What it lacks at the end shows by one more of each topic.
double follow(Source& source, const ChildProcess& process, std::chrono::seconds duration, int& sent)
{
    source.waitForSubscribers();
    for (int i = 0; i < 10; ++i) {  // has all topics heard and all memory had
        source.publishAll();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const double share = processorShare(process.id(), [&] { sent = source.publishFor(duration); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    source.publishAll();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    return share;
}

double lostOf(int sent, int came, int told)
{
    return std::max({sent - came, told, 0});
}

void measureFollowing(std::chrono::seconds duration)
{
    Source source;
    int sent = 0;
    {
        ChildProcess bare({ORVANE_BARE_TOOL, "watch"});
        const double share = follow(source, bare, duration, sent);
        tellFigure("tool.echo", "floor", "%", share);
        tellFigure("tool.record", "floor", "%", share);
        end(bare);
    }
    {
        Words words = tool({"echo", "--json"});
        for (const auto& topic : source.topics()) words.push_back(topic.name);
        std::ofstream{kFollowed};
        ChildProcess echo(words, "/dev/null", kFollowed);
        tellFigure("tool.echo", "ours", "%", follow(source, echo, duration, sent));
        end(echo, SIGINT);
        const std::string text = textOf(kFollowed);
        const auto sum = Json::parse(text.substr(text.rfind("{\"kind\":\"sum\"")));
        const int came = static_cast<int>(occurrences(text, "{\"kind\":\"record\""));
        tellFigure("tool.echo.lost", "ours", "samples",
                   lostOf(sent, came, sum.at("lost").get<int>() + sum.at("left_out").get<int>()));
    }
    {
        std::filesystem::remove(kRecording);
        ChildProcess record(tool({"record", "-o", kRecording}));
        tellFigure("tool.record", "ours", "%", follow(source, record, duration, sent));
        end(record, SIGINT);
        const std::string text = record.output();
        int came = 0, missed = 0;
        double seconds = 0;
        if (std::sscanf(text.c_str(), "orvanectl: %d messages in %lf s, %d missed", &came, &seconds, &missed) != 3)
            throw std::runtime_error("what it recorded is not told: " + text);
        tellFigure("tool.record.lost", "ours", "samples", lostOf(sent, came, missed));
    }
    std::filesystem::remove(kFollowed);
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

/// Frames, and bytes, that it decodes in a second of its time on the processor.
void measureDecoding()
{
    for (const char* kind : {"8504", "5044"}) {
        const std::string path = std::string("/tmp/frames.") + kind;
        writeFrames(path, kind, kDecoded);
        const auto megabytes = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
        for (const std::string form : {"json", "text"}) {
            const Words words = form == "json" ? tool({"decode", "--json", path}) : tool({"decode", path});
            const double seconds = run(words).processorSeconds;
            const std::string name = "tool.decode." + form + '.' + kind;
            tellFigure(name, "ours", "1/s", kDecoded / seconds);
            tellFigure(name + ".bytes", "ours", "MB/s", megabytes / seconds);
        }
        std::filesystem::remove(path);
    }
}

/// Writes a recording of so many messages of a topic or, where there is none of the name, of a queue.
/// @return the bytes of all its messages
std::size_t writeRecording(const std::string& path, const std::string& topic, int count)
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
    return payload.size() * static_cast<std::size_t>(count);
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

void tellPlay(const std::string& name, std::size_t bytes, const Cost& cost)
{
    tellFigure("tool.play." + name, "ours", "1/s", kPlayed / cost.processorSeconds);
    tellFigure("tool.play." + name + ".bytes", "ours", "MB/s",
               static_cast<double>(bytes) / 1e6 / cost.processorSeconds);
    tellFigure("tool.play." + name + ".clock", "ours", "1/s", kPlayed / (cost.milliseconds / 1e3));
}

void measurePlaying()
{
    const Words play = tool({"play", kRecording, "--fast", "--wait", "30"});
    {
        const std::size_t bytes = writeRecording(kRecording, "UTCTime", kPlayed);
        const orvanectl::ConnectionFile connections(kConnections);
        orvanectl::TopicWatch watch(connections, orvanectl::chooseTopics(connections, {"UTCTime"}, ""), {});
        const Meanwhile taken([&] {
            pollfd waiting{watch.samples().descriptor(), POLLIN, 0};
            ::poll(&waiting, 1, 50);
            watch.samples().take();
        });
        tellPlay("topic", bytes, run(play));
    }
    {
        const std::size_t bytes = writeRecording(kRecording, "ZEN_HX", kPlayed);
        const int queue = ::open("/dev/mcs5", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (queue < 0) throw std::runtime_error("no queue");
        const Meanwhile read([queue, bytes = std::vector<char>(131072)]() mutable {
            pollfd waiting{queue, POLLIN, 0};
            if (::poll(&waiting, 1, 50) > 0 && ::read(queue, bytes.data(), bytes.size()) < 0 && errno != EAGAIN)
                throw std::runtime_error("the queue can't be read");
        });
        tellPlay("queue", bytes, run(play));
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
