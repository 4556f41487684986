#ifndef FACE_FACE_STRING_H
#define FACE_FACE_STRING_H

#include <concepts>
#include <cstdint>
#include <string>

namespace FACE {

/// Text with a bound, a valid flag, and storage that is either its own (*managed*) or a character buffer of somebody
/// else's (*unmanaged*). An object that is not valid is harmless: it answers null, 0 and false, or `INVALID_VALUE`.
/// No operation throws. One thread at a time.
class String {
public:
    enum RETURN_CODE : std::int32_t {
        NO_ERROR = 0,
        INSUFFICIENT_BOUND = 1,
        INSUFFICIENT_MEMORY = 2,
        INVALID_VALUE = 3
    };

    /// The bound of an unbounded string.
    static constexpr std::uint32_t UNBOUNDED = 0xFFFFFFFFu;

    /// Managed, unbounded, valid, empty.
    String() noexcept = default;

    /// Managed and empty, of at most `bound` characters. `INVALID_VALUE`, and an object that is not valid, for a bound
    /// of 0, of 0xFFFFFFFF, or beyond 32 bits.
    template <std::integral Integer>
    String(Integer bound, RETURN_CODE& return_code) noexcept
        : String(Bound{static_cast<std::uint64_t>(bound)}, return_code)
    {}

    /// Managed copy of a terminated text, whose length becomes the bound. `INVALID_VALUE` for null,
    /// `INSUFFICIENT_MEMORY` when there is none to copy into; not valid in both cases.
    String(const char* text, RETURN_CODE& return_code) noexcept;

    /// Unmanaged, over a buffer of the caller's that holds `length` characters and has room for `bound` and a
    /// terminator, which is written here. `INVALID_VALUE`, and the buffer left alone, for a null buffer, a bound of 0
    /// or 0xFFFFFFFF, or a bound below the length.
    String(char* buffer, std::uint32_t length, std::uint32_t bound, RETURN_CODE& return_code) noexcept;

    /// A view of a text that outlives it, without copy or allocation: unmanaged, bound and length those of the text.
    /// Not valid for null. Implicit, since it stands for literals used as names; never build it from a temporary.
    /// The text itself is never written: `clear` and the writable `operator[]` make the object managed first, keeping
    /// its bound, and `append` finds it full. What `buffer` gives for a view is there to be read only.
    String(const char* text) noexcept;  // NOLINT(google-explicit-constructor)

    /// A managed deep copy of any source, with the source's bound. Not valid if the source isn't or memory runs out.
    String(const String& other) noexcept;

    /// Makes this string managed and drops an external buffer untouched; takes the bound and the valid flag. From a
    /// source that is not valid, the old managed text stays where it is, out of reach.
    String& operator=(const String& other) noexcept;

    ~String() = default;

    /// Makes a valid text empty, in either form of storage.
    void clear() noexcept;

    /// The terminated text; null if not valid.
    const char* buffer() const noexcept;
    char* buffer() noexcept;

    /// Characters; 0 if not valid.
    std::uint32_t length() const noexcept;

    /// The character at `min(index, length())`: an index past the end gives the terminator. If a view has no memory to
    /// become managed in, a character of the calling thread's own.
    const char& operator[](std::uint32_t index) const noexcept;
    char& operator[](std::uint32_t index) noexcept;

    /// What fits without growing: the bound of an unmanaged string, the storage's capacity of a managed one.
    std::uint32_t capacity() const noexcept;

    std::uint32_t bound() const noexcept { return m_valid ? m_bound : 0; }
    bool is_managed() const noexcept { return m_valid && m_managed; }
    bool is_bounded() const noexcept { return m_valid && m_bound < UNBOUNDED; }
    bool is_valid() const noexcept { return m_valid; }

    /// `INVALID_VALUE` if either is not valid, `INSUFFICIENT_BOUND` if the sum of the lengths exceeds the bound; both
    /// change nothing. An empty `other` always fits.
    RETURN_CODE append(const String& other) noexcept;
    RETURN_CODE append(const char& character) noexcept;

private:
    struct Bound {
        std::uint64_t value;
    };
    String(Bound bound, RETURN_CODE& return_code) noexcept;

    bool fits(std::uint64_t added) const noexcept { return !is_bounded() || length() + added <= m_bound; }
    RETURN_CODE appendCharacters(const char* characters, std::uint32_t count) noexcept;
    void adopt(std::string&& text) noexcept;  // makes a view managed, keeping its bound

    std::string m_text;  // of a managed string
    std::uint32_t m_bound = UNBOUNDED;
    bool m_valid = true;
    bool m_managed = true;
    char* m_buffer = nullptr;    // of an unmanaged string
    std::uint32_t m_length = 0;  // of an unmanaged string
    bool m_view = false;         // the buffer is a text that must not be written
};

}  // namespace FACE

#endif
