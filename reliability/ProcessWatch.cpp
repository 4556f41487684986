#include "reliability/ProcessWatch.h"

#include "reliability/Statistics.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds kPause{100};
constexpr double kFlat = 1024;  // KiB; what the heap's own pages come and go by

std::filesystem::path folderOf(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

/// A number of the process's status; negative if it is gone.
double statusOf(pid_t process, const std::string& key)
{
    std::ifstream file(folderOf(process) / "status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key + ":")) return std::stod(line.substr(key.size() + 1));
    return -1.0;
}

double descriptorsOf(pid_t process)
{
    std::error_code error;
    double count = 0.0;
    for (std::filesystem::directory_iterator entry(folderOf(process) / "fd", error), end; !error && entry != end;
         entry.increment(error))
        ++count;
    return count;
}

/// Seconds that a process has had of the processor.
double processorSeconds(pid_t process)
{
    std::ifstream file(folderOf(process) / "stat");
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const auto name = text.rfind(')');
    if (name == std::string::npos) throw std::runtime_error("no such process");
    std::istringstream fields(text.substr(name + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field) fields >> skipped;
    long long user = 0, system = 0;
    if (!(fields >> user >> system)) throw std::runtime_error("no such process");
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace

ProcessWatch::ProcessWatch(pid_t process)
    : m_process(process), m_processorBefore(processorSeconds(process)), m_thread([this](const std::stop_token& stop) {
          while (!stop.stop_requested()) {
              look();
              std::this_thread::sleep_for(kPause);
          }
      })
{}

void ProcessWatch::look()
{
    const double resident = statusOf(m_process, "VmRSS"), threads = statusOf(m_process, "Threads");
    const double descriptors = descriptorsOf(m_process);
    if (resident < 0.0 || threads < 0.0) return;
    const std::lock_guard lock(m_mutex);
    m_resident.push_back(resident);
    m_threads.push_back(threads);
    m_descriptors.push_back(descriptors);
}

void ProcessWatch::tell(Report& report, const std::string& what)
{
    m_thread.request_stop();
    if (m_thread.joinable()) m_thread.join();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count();
    const double used = processorSeconds(m_process) - m_processorBefore;

    const std::lock_guard lock(m_mutex);
    if (m_resident.empty()) throw std::runtime_error("the process was never seen");
    report.figure(what + ", processor", 100.0 * used / seconds, "%");
    report.figure(what + ", resident at most", *std::ranges::max_element(m_resident), "KiB");
    report.figure(what + ", resident grown by", Statistics::growth(m_resident), "KiB", {Goal::AtMost, kFlat});
    report.figure(what + ", descriptors grown by", Statistics::growth(m_descriptors), "", {Goal::AtMost, 0});
    report.figure(what + ", threads grown by", Statistics::growth(m_threads), "", {Goal::AtMost, 0});
}
