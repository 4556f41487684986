#ifndef LAB_LIBVICTORY_BUS_H
#define LAB_LIBVICTORY_BUS_H

#include "lab/libvictory/Descriptor.h"
#include "lab/libvictory/LibraryThread.h"
#include "lab/libvictory/RecordFields.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace labvictory {

/// The bus as clients on the desk see it: a Unix stream socket with one JSON object a line, both ways. Every client gets
/// every publication, and when it comes the last one of each name first. What a client has not read is kept up to a
/// limit; beyond it the oldest line is dropped, and the client is told how many were.
///
/// Any thread may publish and send; neither ever waits for a client. One thread of its own does what has to do with
/// sockets, and hands over the lines of the clients. The lock is a leaf.
class Bus {
public:
    using ClientId = std::uint64_t;
    using Handler = std::function<void(ClientId, std::string_view line)>;

    static constexpr std::size_t kMostClients = 16;
    static constexpr std::size_t kLongestLine = std::size_t{512} * 1024;       // from a client, without its end
    static constexpr std::size_t kMostWaiting = std::size_t{8} * 1024 * 1024;  // bytes that a client has not read
    static constexpr std::size_t kMostWaitingLines = 4096;

    /// The last publication of a name.
    struct Last {
        std::uint64_t number;
        std::string line;
        std::string raw;  // the record's bytes; empty where there is none
    };

    /// Listens at the path; a socket there that nobody serves is replaced. Throws `std::runtime_error`.
    /// @param handler  takes a line of a client, without its end, on the bus's thread; throws nothing
    Bus(std::string path, Handler handler);

    /// As `close`.
    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    const std::string& path() const { return m_path; }

    /// Ends the thread, closes the clients and removes the socket; what is published then reaches nobody. Not for the
    /// bus's thread, and not for two threads at once.
    void close();

    /// Sends to every client and keeps as the last of this name.
    /// @param line  an object with members; `number`, which counts publications, is put in front
    void publish(const std::string& name, const Json& line, std::string raw = {}) EXCLUDES(m_mutex);

    /// Sends to every client, and keeps nothing.
    void announce(const Json& line) EXCLUDES(m_mutex);

    /// Sends to one client, if it is still there.
    void send(ClientId client, const Json& line) EXCLUDES(m_mutex);

    /// The last publications by name.
    std::map<std::string, Last> last() const EXCLUDES(m_mutex);

private:
    using Line = std::shared_ptr<const std::string>;

    /// What waits for a client.
    struct Outbox {
        std::deque<Line> lines;
        std::size_t bytes = 0;
        std::size_t dropped = 0;

        void push(Line line);
        Line take();  // null for nothing
    };

    /// What the bus's thread knows of a client.
    struct Connection {
        Descriptor socket;
        std::string input;      // begin of a line
        bool skipping = false;  // the rest of a line that was too long
        bool ended = false;     // the client writes no more
        Line output;            // being sent
        std::size_t sent = 0;
    };

    void wake() const;
    void run();
    void waitForWork();
    void accept();
    void refuse(int socket) const;
    bool serve(ClientId client, Connection& connection, short events);
    bool readFrom(ClientId client, Connection& connection);
    void take(ClientId client, Connection& connection, std::string_view bytes);
    bool writeTo(ClientId client, Connection& connection) EXCLUDES(m_mutex);

    const std::string m_path;
    const Handler m_handler;
    Descriptor m_listener;
    Descriptor m_wake;
    std::atomic<bool> m_stopping{false};

    // Only the bus's thread.
    std::map<ClientId, Connection> m_connections;
    bool m_acceptPaused = false;

    mutable Mutex m_mutex;
    std::map<ClientId, Outbox> m_outboxes GUARDED_BY(m_mutex);
    std::map<std::string, Last> m_last GUARDED_BY(m_mutex);
    std::uint64_t m_lastNumber GUARDED_BY(m_mutex) = 0;

    std::optional<LibraryThread> m_thread;  // last: it ends before what it uses
};

}  // namespace labvictory

#endif
