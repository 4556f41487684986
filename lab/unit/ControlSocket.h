#ifndef LAB_UNIT_CONTROLSOCKET_H
#define LAB_UNIT_CONTROLSOCKET_H

#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace unitsim {

/// A Unix stream socket on which clients give lines, each of which gets a line as its answer. It is served by a thread
/// of its own from construction to destruction, which also removes it.
class ControlSocket {
public:
    static constexpr std::size_t kClients = 8;         ///< at once; others are turned away
    static constexpr std::size_t kLongestLine = 4096;  ///< bytes; who sends a longer one is turned away

    /// Takes the place of a socket that nobody serves. Throws `std::runtime_error` that names the path.
    /// @param answer  makes the answer to a line, both without their ends; called by the thread
    ControlSocket(const std::string& path, std::function<std::string(const std::string&)> answer);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

private:
    struct Client {
        int socket;
        std::string input;
    };

    void run() noexcept;
    void serve();
    void admit();
    bool attend(Client& client);

    std::string m_path;
    std::function<std::string(const std::string&)> m_answer;
    int m_listening;
    int m_end;  // becomes readable when it is over
    std::vector<Client> m_clients;
    std::thread m_thread;  // last: it uses all of the above
};

}  // namespace unitsim

#endif
