#ifndef LAB_CTL_LINESOCKET_H
#define LAB_CTL_LINESOCKET_H

#include <cstddef>
#include <optional>
#include <string>

namespace orvanectl {

/// A connection to a Unix stream socket on which both sides send lines. One thread at a time.
class LineSocket {
public:
    /// Longest line that is read, in bytes.
    static constexpr std::size_t kLongestLine = std::size_t{16} * 1024 * 1024;

    /// Throws `std::runtime_error`.
    /// @param what  stands there, for the text of what is thrown: "no bus at /tmp/bus: ..."
    LineSocket(const std::string& path, const std::string& what);
    ~LineSocket();
    LineSocket(const LineSocket&) = delete;
    LineSocket& operator=(const LineSocket&) = delete;

    /// @param line  without its end. Throws `std::runtime_error` when it can't be sent.
    void send(std::string line);

    /// The next line without its end, waited for; nothing once the other side has closed. Throws `std::runtime_error` for
    /// a line that is too long, and when reading fails.
    std::optional<std::string> nextLine();

    /// The next line if it is there already. Throws the same.
    std::optional<std::string> arrivedLine();

    /// The other side has closed; there may be lines to take still.
    bool isClosed() const { return m_closed; }

    /// Can be read, for `poll`, when something has come.
    int descriptor() const { return m_socket; }

private:
    std::optional<std::string> takeLine();
    bool receive(int flags);

    std::string m_what;
    int m_socket;
    bool m_closed = false;
    std::string m_input;
    std::size_t m_searched = 0;  // of the input, without an end of line
};

}  // namespace orvanectl

#endif
