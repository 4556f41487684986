#include "reliability/torture/Trial.h"

#include "reliability/torture/Verdict.h"
#include "tests/support/Desk.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Inputs.h"
#include "tests/support/Partners.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace torture {

namespace {

using namespace std::chrono_literals;

constexpr const char* kVclFile = "/opt/halvex/config/APNT_VCL_1_9.xml";
constexpr const char* kDescriptors = "/tmp/descriptors";
constexpr auto kLimit = 30s;     // for what must come to its end
constexpr auto kPatience = 4s;   // for what a failed call may keep from happening
constexpr auto kRecovery = 15s;  // until a join, once calls succeed again

/// A client of the bus that waits for nothing longer than it is told to, and comes again when the bus lets it go, as it does
/// when it can't send to it.
class Client {
public:
    ~Client() { close(m_socket); }
    Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool connect(std::chrono::milliseconds limit)
    {
        return eventually([&] { return connect(); }, limit);
    }

    void ask(const nlohmann::json& request) const
    {
        const std::string text = request.dump() + "\n";
        static_cast<void>(send(m_socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    }

    /// How many lines with a text have come by now. What was told last, which the bus tells whoever comes, does not count.
    std::size_t count(const std::string& text)
    {
        read();
        return static_cast<std::size_t>(
            std::ranges::count_if(lines(), [&](const std::string& line) { return isNews(line, text); }));
    }

    /// The last of those lines; null if there is none.
    nlohmann::json last(const std::string& text)
    {
        read();
        nlohmann::json found;
        for (const auto& line : lines())
            if (isNews(line, text)) found = nlohmann::json::parse(line, nullptr, false);
        return found;
    }

private:
    void read()
    {
        char part[65536];
        ssize_t size = 0;
        while ((size = recv(m_socket, part, sizeof part, MSG_DONTWAIT)) > 0)
            m_text.append(part, static_cast<std::size_t>(size));
        if (size == 0 || (errno != EAGAIN && errno != EINTR)) connect();
    }

    std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        std::istringstream stream(m_text);
        for (std::string line; std::getline(stream, line);) all.push_back(line);
        return all;
    }

    static bool isNews(const std::string& line, const std::string& text)
    {
        return line.find(text) != std::string::npos && line.find(R"("last":true)") == std::string::npos;
    }

    bool connect()
    {
        close(m_socket);
        if (!m_text.empty() && !m_text.ends_with('\n')) m_text += '\n';  // a line that was broken off
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/tmp/bus");
        m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    int m_socket = -1;
    std::string m_text;
};

bool mayTakePriority()
{
    bool isAllowed = false;
    std::thread([&] {
        sched_param parameters{};
        parameters.sched_priority = 1;
        isAllowed = sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
    }).join();
    return isAllowed;
}

/// What each descriptor of a process stands for.
std::vector<std::string> descriptorsOf(pid_t process)
{
    std::error_code error;
    std::vector<std::string> places;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd", error)) {
        const auto place = std::filesystem::read_symlink(entry.path(), error);
        if (!error) places.push_back(withoutNode(place));
    }
    return places;
}

void addLines(std::vector<std::string>& lines, const std::string& text)
{
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
}

std::string planOf(const Point& point)
{
    std::string plan = std::string("descriptors to ") + kDescriptors + "\n";
    if (!point.caller.empty()) plan += "only caller " + point.caller + "\n";
    if (!point.kind.empty() && point.call > 0)
        plan += "fail " + point.kind + " " + std::to_string(point.call) + (point.isOnce ? " once\n" : " on\n");
    return plan;
}

class Trial {
public:
    explicit Trial(const Point& point) : m_point(point), m_calls(planOf(point)), m_partners(m_desk), m_inputs(m_desk)
    {
        m_desk.set("CPU", "1");
        if ((point.kind == "sched" || point.kind.empty()) && mayTakePriority()) m_desk.set("PRI", "1");
    }

    Facts run()
    {
        if (m_point.phase == Phase::Start) m_calls.arm();
        m_process = m_desk.start(FailingCalls::environment()).id();
        const bool isRunning = awaitRunning();
        if (m_point.phase == Phase::Start) m_calls.disarm();
        if (isRunning) live();
        end();
        collect();
        return m_facts;
    }

private:
    bool isOver() const
    {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(m_process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == m_process;
    }

    /// Whether the service has its last handler of a signal.
    bool handlesInterrupts() const
    {
        std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("SigCgt:")) return (std::stoull(line.substr(7), nullptr, 16) >> (SIGINT - 1) & 1) != 0;
        return false;
    }

    bool awaitRunning()
    {
        bool isRunning = false;
        if (!eventually([&] { return isOver() || (isRunning = handlesInterrupts()); }, kLimit)) m_facts.hang = "start";
        return isRunning && !isOver();
    }

    void live()
    {
        const bool hasBus = m_client.connect(kPatience);
        if (m_point.phase == Phase::Run) {
            const bool isReady = hasBus && m_inputs.waitForService() && m_partners.waitForService() && joins(kLimit);
            if (!isReady) throw std::runtime_error("the service does not work before anything fails");
            const auto before = descriptorsOf(m_process).size();
            m_calls.arm();
            work();
            m_calls.disarm();
            m_facts.isDeaf = !joins(kRecovery);
            noteVclAnswer();
            const auto isBack = [&] { return isOver() || descriptorsOf(m_process).size() <= before; };
            if (!eventually(isBack, kPatience))
                m_facts.moreDescriptors = static_cast<int>(descriptorsOf(m_process).size() - before);
        } else {
            m_facts.isDeaf = !joins(kRecovery);
            if (m_point.phase == Phase::Start && !m_facts.isDeaf && !isOver()) lookAtStarted();
        }
    }

    /// Where a call failed in the start, others that come later must find the service as well: Fast DDS may do without
    /// what it listens with.
    void lookAtStarted()
    {
        m_facts.open = descriptorsOf(m_process);
        if (m_calls.failed() == 0) return;
        const Inputs late(m_desk);
        m_facts.isDeafToLate = !late.waitForService() || !joins(kRecovery, late);
    }

    bool joins(std::chrono::milliseconds limit) { return joins(limit, m_inputs); }

    /// Sends fresh inputs until the service tells a join of them.
    bool joins(std::chrono::milliseconds limit, const Inputs& inputs)
    {
        const std::size_t before = tells();
        const auto end = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < end && !isOver()) {
            inputs.sendAll();
            if (waitingInQueue() < 16384) inputs.sendReceiver();  // a full queue would be waited for
            if (eventually([&] { return tells() > before || isOver(); }, 1s)) return !isOver();
            if (isDeafnessTold(m_desk.service().errors() + m_desk.service().output())) return false;
        }
        return false;
    }

    /// Bytes that the service has not taken.
    static int waitingInQueue()
    {
        const int queue = open("/dev/mcs5", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        int waiting = 0;
        static_cast<void>(ioctl(queue, FIONREAD, &waiting));
        close(queue);
        return waiting;
    }

    std::size_t tells() { return m_client.count(R"("tell":"blended-navigation")"); }

    /// Waits for what a failed call may keep from happening.
    template <class Condition>
    void give(Condition condition) const
    {
        eventually([&] { return isOver() || condition(); }, kPatience);
    }

    /// Two joins, a client's request to clear data, a new VCL text, and an order to sanitize.
    void work()
    {
        for (int i = 0; i < 2; ++i) joins(2s);

        m_client.ask({{"request", "clear-data"}, {"id", 1}});
        give([&] { return m_partners.commands("REQUEST_ZEROIZE") > 0; });
        m_partners.respond("REQUEST_ZEROIZE_ACK");
        give([&] { return m_client.count(R"("request":"clear-data")") > 0; });
        // Before the unit's answer is taken up, this one is ignored; while data are erased no VCL text is saved.
        for (int i = 0; i < 8 && !isOver() && !isClearedTold(); ++i) {
            m_partners.respond("SYSTEM_ZEROIZE_PASS");
            eventually([&] { return isOver() || isClearedTold(); }, kPatience / 8);
        }

        m_client.ask({{"request", "save-vcl"}, {"id", 2}, {"text", newVcl()}});
        give([&] { return m_client.count(R"("request":"save-vcl")") > 0; });
        m_facts.vclAnswer = "none";

        const std::string deleted = R"("event":"deleted")";
        const std::size_t before = m_client.count(deleted);
        m_partners.command("START_ZEROIZE");
        give([&] { return m_client.count(deleted) > before; });
        joins(2s);
    }

    bool isClearedTold() const
    {
        return std::ranges::any_of(m_events.inbox().items(), [](const auto& item) {
            return item.message.eventlog().find("Clear data complete") != std::string::npos;
        });
    }

    void noteVclAnswer()
    {
        const auto answer = m_client.last(R"("request":"save-vcl")");
        if (answer.is_object()) m_facts.vclAnswer = answer.value("returned", 1) == 0 ? "saved" : "refused";
    }

    std::string newVcl() const { return m_vcl + "<!-- as a client wants it -->\n"; }

    void end()
    {
        if (m_point.phase == Phase::Stop) m_calls.arm();
        if (!isOver() && m_facts.hang.empty()) m_desk.service().send(SIGTERM);
        if (!eventually([&] { return isOver(); }, m_facts.hang.empty() ? kLimit : 0s)) {
            if (m_facts.hang.empty()) m_facts.hang = "end";
            noteWhereItHangs();
            m_desk.service().send(SIGKILL);
        }
        const auto ending = m_desk.service().wait();
        m_facts.status = ending.status;
        m_facts.signal = m_facts.hang.empty() ? ending.signal : 0;
    }

    /// Has the library of failing calls note what the main thread is in: it does so for this signal, of which the service
    /// has no handler of its own.
    void noteWhereItHangs() const
    {
        syscall(SYS_tgkill, m_process, m_process, SIGSEGV);
        const auto isNoted = [] {
            return std::ranges::any_of(FailingCalls::log(),
                                       [](const auto& line) { return line.starts_with("crashed"); });
        };
        eventually([&] { return isOver() || isNoted(); }, kPatience);
    }

    void collect()
    {
        addLines(m_facts.lines, m_desk.service().errors());
        addLines(m_facts.lines, m_desk.service().output());
        for (const auto& item : m_events.inbox().items()) m_facts.lines.push_back("event: " + item.message.eventlog());
        m_facts.log = FailingCalls::log();
        m_facts.failed = m_calls.failed();
        std::ifstream left(kDescriptors);
        for (std::string place; std::getline(left, place);) m_facts.left.push_back(withoutNode(place));
        for (const auto& row : faults::kKinds)
            m_facts.calls[std::string(row.word)] = m_calls.calls(*faults::kindOf(row.word));
        const std::string vcl = readFile(kVclFile);
        m_facts.isVclNew = vcl == newVcl();
        m_facts.isVclWhole = vcl == m_vcl || m_facts.isVclNew;
    }

    const Point m_point;
    const std::string m_vcl = readFile(kVclFile);
    Facts m_facts;
    FailingCalls m_calls;
    Desk m_desk;
    Partners m_partners;
    Inputs m_inputs;
    Subscriber<aspn2_msgs::idl::EventLog> m_events{m_inputs.transport(), "EventLog"};
    Client m_client;
    pid_t m_process = -1;
};

}  // namespace

Facts perform(const Point& point)
{
    return Trial(point).run();
}

}  // namespace torture
