#ifndef LAB_CTL_SERVE_LISTENINGSOCKET_H
#define LAB_CTL_SERVE_LISTENINGSOCKET_H

#include <string>

namespace orvanectl {

/// A TCP socket that takes connections. One thread at a time.
class ListeningSocket {
public:
    /// Listens alone at that place. Throws `std::runtime_error`.
    /// @param address  in numbers, such as "127.0.0.1" or "::1"
    /// @param port     0: any that is free
    ListeningSocket(const std::string& address, int port);

    /// Takes over one that was opened by whoever started this process, such as outside of a sandbox. Throws
    /// `std::runtime_error` if it is none.
    explicit ListeningSocket(int descriptor);

    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /// As it stands in front of a port in an address of the web: "127.0.0.1", "[::1]".
    const std::string& host() const { return m_host; }
    int port() const { return m_port; }

    /// Gives the descriptor away.
    int release();

private:
    void learnPlace();

    int m_socket = -1;
    std::string m_host;
    int m_port = 0;
};

}  // namespace orvanectl

#endif
