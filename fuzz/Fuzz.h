#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

/// What the fuzz targets have in common. A target is a function of bytes: whatever they are, what it tells must hold.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the process, with the place, unless the condition holds.
#define FUZZ_EXPECT(...) ((__VA_ARGS__) ? static_cast<void>(0) : fuzz::fail(#__VA_ARGS__, __FILE__, __LINE__))

namespace fuzz {

/// The planted build of a target has one defect more, in a wrapper around what it looks at: that it is found shows that
/// such a one would be.
#ifdef ORVANE_PLANTED
inline constexpr bool kPlanted = true;
#else
inline constexpr bool kPlanted = false;
#endif

[[noreturn]] void fail(const char* condition, const char* file, int line);

/// The input, taken from its front. At its end there are only zeros.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_rest(data, size) {}

    bool isEmpty() const { return m_rest.empty(); }

    /// A number of any value, NaN and its like included.
    template <class T>
        requires(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>)
    T number()
    {
        T value{};
        const auto bytes = take(sizeof(T));
        if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }

    /// @param limit  1 to 256
    std::size_t below(std::size_t limit) { return number<std::uint8_t>() % limit; }
    bool boolean() { return below(2) == 1; }

    /// As many bytes as there are, `size` at the most.
    std::span<const std::uint8_t> take(std::size_t size)
    {
        const auto bytes = m_rest.first(std::min(size, m_rest.size()));
        m_rest = m_rest.subspan(bytes.size());
        return bytes;
    }
    std::span<const std::uint8_t> rest() { return take(m_rest.size()); }

    /// @param size  of the text, at the most
    std::string text(std::size_t size)
    {
        const auto bytes = take(size);
        return {bytes.begin(), bytes.end()};
    }
    std::string line()
    {
        const auto end = std::find(m_rest.begin(), m_rest.end(), '\n');
        const std::string text(m_rest.begin(), end);
        take(text.size() + 1);
        return text;
    }

private:
    std::span<const std::uint8_t> m_rest;
};

/// Keeps what the units print off the console, and counts its lines. One for the process.
class QuietConsole {
public:
    static QuietConsole& instance();

    std::size_t lines() const { return m_lines; }
    void count(std::size_t lines) { m_lines += lines; }

private:
    QuietConsole();

    std::size_t m_lines = 0;
};

/// A file of the process's own that stands in no folder. It goes with the object.
class MemoryFile {
public:
    explicit MemoryFile(const std::string& content);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// Good for whoever opens it in this process.
    std::string path() const;
    std::string content() const;

private:
    int m_descriptor;
};

}  // namespace fuzz

#endif
