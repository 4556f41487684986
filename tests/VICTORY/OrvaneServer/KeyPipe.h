#ifndef TESTS_VICTORY_ORVANESERVER_KEYPIPE_H
#define TESTS_VICTORY_ORVANESERVER_KEYPIPE_H

#include <stdexcept>
#include <string>
#include <unistd.h>

/// A pipe as the standard input of this process, while this object lives: a tester's keyboard.
class KeyPipe {
public:
    KeyPipe() : m_saved(dup(STDIN_FILENO))
    {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0 || dup2(ends[0], STDIN_FILENO) != STDIN_FILENO) throw std::runtime_error("no pipe");
        close(ends[0]);
        m_write = ends[1];
    }
    ~KeyPipe()
    {
        if (m_saved >= 0) {
            dup2(m_saved, STDIN_FILENO);
            close(m_saved);
        }
        close(m_write);
    }
    KeyPipe(const KeyPipe&) = delete;
    KeyPipe& operator=(const KeyPipe&) = delete;

    void type(const std::string& keys) const
    {
        if (write(m_write, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
            throw std::runtime_error("the pipe is full");
    }

private:
    int m_saved;
    int m_write;
};

#endif
