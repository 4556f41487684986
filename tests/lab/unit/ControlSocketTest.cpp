#include "lab/unit/ControlSocket.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

using unitsim::ControlSocket;

namespace {

class Client {
public:
    explicit Client(const std::string& path) : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("cannot connect");
    }
    ~Client() { close(m_socket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void write(const std::string& text) const
    {
        EXPECT_EQ(send(m_socket, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }

    /// So many bytes; fewer if the other side closes before.
    std::string read(std::size_t size) const
    {
        std::string text(size, '\0');
        const ssize_t count = recv(m_socket, text.data(), size, MSG_WAITALL);
        return text.substr(0, count > 0 ? static_cast<std::size_t>(count) : 0);
    }

private:
    int m_socket;
};

struct ControlSocketTest : testing::Test {
    ControlSocketTest() { begin(); }

    void begin()
    {
        control.emplace(path, [](const std::string& line) { return "got " + line; });
    }

    TemporaryDirectory directory;
    std::string path = (directory.path() / "control").string();
    std::optional<ControlSocket> control;
};

}  // namespace

TEST_F(ControlSocketTest, EachLineGetsItsAnswerInOrder)
{
    const Client client(path);
    client.write("one\ntwo\nthr");
    EXPECT_EQ(client.read(16), "got one\ngot two\n");
    client.write("ee\n");
    EXPECT_EQ(client.read(10), "got three\n");
}

TEST_F(ControlSocketTest, ClientWithALineWithoutEndIsTurnedAway)
{
    const Client endless(path);
    endless.write(std::string(ControlSocket::kLongestLine + 1, 'x'));
    EXPECT_EQ(endless.read(1), "");
    const Client other(path);
    other.write("a\n");
    EXPECT_EQ(other.read(6), "got a\n");
}

TEST_F(ControlSocketTest, OneClientTooManyIsTurnedAway)
{
    std::vector<std::unique_ptr<Client>> clients;
    for (std::size_t i = 0; i < ControlSocket::kClients; ++i) {
        clients.push_back(std::make_unique<Client>(path));
        clients.back()->write("a\n");
        EXPECT_EQ(clients.back()->read(6), "got a\n");
    }
    EXPECT_EQ(Client(path).read(1), "");
}

TEST_F(ControlSocketTest, SocketIsGoneWithItsServer)
{
    control.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ControlSocketTest, AbandonedSocketIsReplacedAndAServedOneIsNot)
{
    EXPECT_THROW(ControlSocket(path, [](const std::string&) { return ""; }), std::runtime_error);
    control.reset();
    const int left = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(bind(left, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(left);
    begin();
    const Client client(path);
    client.write("a\n");
    EXPECT_EQ(client.read(6), "got a\n");
}

TEST_F(ControlSocketTest, FileThatIsNoSocketIsKept)
{
    control.reset();
    directory.write("control", "text");
    EXPECT_THROW(begin(), std::runtime_error);
    EXPECT_EQ(readFile(path), "text");
}
