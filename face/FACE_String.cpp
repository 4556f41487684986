#include "face/FACE_String.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace FACE {

namespace {

constexpr bool isUsableBound(std::uint64_t bound)
{
    return bound > 0 && bound < String::UNBOUNDED;
}

std::uint32_t lengthOf(const char* text)
{
    return static_cast<std::uint32_t>(std::min<std::size_t>(std::strlen(text), String::UNBOUNDED - 1));
}

/// A terminator that is nobody's text.
char& nothing()
{
    static thread_local char character;
    character = '\0';
    return character;
}

}  // namespace

String::String(Bound bound, RETURN_CODE& return_code) noexcept
{
    m_valid = isUsableBound(bound.value);
    m_bound = m_valid ? static_cast<std::uint32_t>(bound.value) : 0;
    return_code = m_valid ? NO_ERROR : INVALID_VALUE;
}

String::String(const char* text, RETURN_CODE& return_code) noexcept : m_bound(0), m_valid(false)
{
    return_code = INVALID_VALUE;
    if (!text) return;
    try {
        m_text.assign(text, lengthOf(text));
        m_bound = static_cast<std::uint32_t>(m_text.size());
        m_valid = true;
        return_code = NO_ERROR;
    } catch (...) {
        return_code = INSUFFICIENT_MEMORY;
    }
}

String::String(char* buffer, std::uint32_t length, std::uint32_t bound, RETURN_CODE& return_code) noexcept
    : m_bound(bound), m_valid(buffer && isUsableBound(bound) && bound >= length), m_managed(false), m_buffer(buffer),
      m_length(length)
{
    if (m_valid) m_buffer[m_length] = '\0';
    return_code = m_valid ? NO_ERROR : INVALID_VALUE;
}

String::String(const char* text) noexcept
    : m_bound(text ? lengthOf(text) : 0), m_valid(text), m_managed(false), m_buffer(const_cast<char*>(text)),
      m_length(m_bound), m_view(true)
{}

String::String(const String& other) noexcept : m_bound(other.m_bound), m_valid(other.m_valid)
{
    if (!m_valid) return;
    try {
        m_text.assign(other.buffer(), other.length());
    } catch (...) {
        m_valid = false;
    }
}

String& String::operator=(const String& other) noexcept
{
    if (this == &other && m_managed) return *this;
    try {
        if (other.m_valid) {
            std::string text(other.buffer(), other.length());
            m_text.swap(text);
        }
        m_valid = other.m_valid;
    } catch (...) {
        m_valid = false;
    }
    m_bound = other.m_bound;
    m_managed = true;
    m_buffer = nullptr;
    m_length = 0;
    m_view = false;
    return *this;
}

void String::clear() noexcept
{
    if (!m_valid) return;
    if (m_managed) {
        m_text.clear();
    } else if (m_view) {
        adopt({});
    } else {
        m_length = 0;
        m_buffer[0] = '\0';
    }
}

const char* String::buffer() const noexcept
{
    if (!m_valid) return nullptr;
    return m_managed ? m_text.c_str() : m_buffer;
}

char* String::buffer() noexcept
{
    if (!m_valid) return nullptr;
    return m_managed ? m_text.data() : m_buffer;
}

std::uint32_t String::length() const noexcept
{
    if (!m_valid) return 0;
    return m_managed ? static_cast<std::uint32_t>(m_text.size()) : m_length;
}

const char& String::operator[](std::uint32_t index) const noexcept
{
    return m_valid ? buffer()[std::min(index, length())] : nothing();
}

char& String::operator[](std::uint32_t index) noexcept
{
    if (!m_valid) return nothing();
    if (m_view) {
        try {
            adopt(std::string(m_buffer, m_length));
        } catch (...) {
            return nothing();
        }
    }
    return buffer()[std::min(index, length())];
}

std::uint32_t String::capacity() const noexcept
{
    if (!m_valid) return 0;
    return m_managed ? static_cast<std::uint32_t>(std::min<std::size_t>(m_text.capacity(), UNBOUNDED)) : m_bound;
}

String::RETURN_CODE String::append(const String& other) noexcept
{
    if (!m_valid || !other.m_valid) return INVALID_VALUE;
    if (!fits(other.length())) return INSUFFICIENT_BOUND;
    if (other.length() == 0) return NO_ERROR;
    return appendCharacters(other.buffer(), other.length());
}

String::RETURN_CODE String::append(const char& character) noexcept
{
    if (!m_valid) return INVALID_VALUE;
    if (!fits(1)) return INSUFFICIENT_BOUND;
    const char copy = character;  // it may be a character of this very text
    return appendCharacters(&copy, 1);
}

String::RETURN_CODE String::appendCharacters(const char* characters, std::uint32_t count) noexcept
{
    if (!m_managed) {
        std::memmove(m_buffer + m_length, characters, count);
        m_length += count;
        m_buffer[m_length] = '\0';
        return NO_ERROR;
    }
    try {
        m_text.append(characters, count);
        return NO_ERROR;
    } catch (...) {
        return INSUFFICIENT_MEMORY;
    }
}

void String::adopt(std::string&& text) noexcept
{
    m_text = std::move(text);
    m_managed = true;
    m_view = false;
    m_buffer = nullptr;
    m_length = 0;
}

}  // namespace FACE
