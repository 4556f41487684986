#ifndef TESTS_SUPPORT_BEFORENEXTLINE_H
#define TESTS_SUPPORT_BEFORENEXTLINE_H

#include <functional>
#include <iostream>
#include <streambuf>
#include <utility>

/// Runs an action before the next line that is printed on the standard output while this object lives, once, on the
/// thread that prints. What the action throws goes to whoever prints, and that line is lost; those behind it are not.
class BeforeNextLine {
public:
    explicit BeforeNextLine(std::function<void()> action) : m_buffer(std::move(action))
    {
        m_stream.exceptions(std::ios::badbit);
        m_previous = std::cout.tie(&m_stream);
    }
    ~BeforeNextLine() { std::cout.tie(m_previous); }
    BeforeNextLine(const BeforeNextLine&) = delete;
    BeforeNextLine& operator=(const BeforeNextLine&) = delete;

private:
    /// What is tied to a stream is flushed before the stream is written to.
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(std::function<void()> action) : m_action(std::move(action)) {}

    protected:
        int sync() override
        {
            std::cout.tie(nullptr);
            m_action();
            return 0;
        }

    private:
        std::function<void()> m_action;
    };

    Buffer m_buffer;
    std::ostream m_stream{&m_buffer};
    std::ostream* m_previous = nullptr;
};

#endif
