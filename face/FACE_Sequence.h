#ifndef FACE_FACE_SEQUENCE_H
#define FACE_FACE_SEQUENCE_H

#include "face/FACE_String.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace FACE {

namespace Details {

/// Leaves the elements that a vector makes by itself as their default constructor has them, so that numbers are not
/// set to 0 only to be written over.
template <class T>
struct DefaultInitAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = DefaultInitAllocator<U>;
    };

    template <class U>
    void construct(U* place)
    {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Arguments>
    void construct(U* place, Arguments&&... arguments)
    {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};

}  // namespace Details

/// Elements with a bound, a valid flag, and storage that is either its own (*managed*) or an array of somebody else's
/// (*unmanaged*): the shape of `FACE::String`, whose return codes it uses. An object that is not valid is harmless: it
/// answers null, 0 and false, or `INVALID_VALUE`. No operation throws. One thread at a time.
template <class T>
class Sequence {
public:
    using RETURN_CODE = String::RETURN_CODE;

    /// The bound of an unbounded sequence.
    static constexpr std::uint32_t UNBOUNDED = String::UNBOUNDED;

    /// Managed, unbounded, valid, empty.
    Sequence() noexcept = default;

    /// Managed and empty, of at most `bound` elements. `INVALID_VALUE`, and an object that is not valid, for a bound
    /// of 0, of 0xFFFFFFFF, or beyond 32 bits.
    template <std::integral Integer>
    Sequence(Integer bound, RETURN_CODE& return_code) noexcept
    {
        const auto wanted = static_cast<std::uint64_t>(bound);
        m_valid = wanted > 0 && wanted < UNBOUNDED;
        m_bound = m_valid ? static_cast<std::uint32_t>(wanted) : 0;
        return_code = m_valid ? String::NO_ERROR : String::INVALID_VALUE;
    }

    /// Unmanaged, over an array of the caller's that holds `count` elements and has room for `bound`. A bound of
    /// 0xFFFFFFFF leaves the room to the caller: nothing is checked then. `INVALID_VALUE`, and not valid, for a null
    /// array, a bound of 0, or a bound below the count.
    Sequence(T* array, std::uint32_t count, std::uint32_t bound, RETURN_CODE& return_code) noexcept
        : m_bound(bound), m_valid(array && bound > 0 && bound >= count), m_managed(false), m_array(array),
          m_count(count)
    {
        return_code = m_valid ? String::NO_ERROR : String::INVALID_VALUE;
    }

    /// A managed deep copy of any source, with the source's bound. Not valid if the source isn't or copying fails.
    Sequence(const Sequence& other) noexcept : m_bound(other.m_bound), m_valid(other.m_valid)
    {
        if (!m_valid) return;
        try {
            m_elements.assign(other.buffer(), other.buffer() + other.length());
        } catch (...) {
            m_valid = false;
        }
    }

    /// Makes this sequence managed and drops an external array untouched; takes the bound and the valid flag.
    Sequence& operator=(const Sequence& other) noexcept
    {
        if (this == &other && m_managed) return *this;
        try {
            if (other.m_valid) {
                Elements elements(other.buffer(), other.buffer() + other.length());
                m_elements.swap(elements);
            }
            m_valid = other.m_valid;
        } catch (...) {
            m_valid = false;
        }
        m_bound = other.m_bound;
        m_managed = true;
        m_array = nullptr;
        m_count = 0;
        return *this;
    }

    ~Sequence() = default;

    /// Removes every element of a managed sequence, and sets the count of an unmanaged one to 0.
    void clear() noexcept
    {
        if (!m_valid) return;
        m_elements.clear();
        m_count = 0;
    }

    /// The first of `length()` elements in a row; null if not valid.
    const T* buffer() const noexcept { return !m_valid ? nullptr : m_managed ? m_elements.data() : m_array; }
    T* buffer() noexcept { return !m_valid ? nullptr : m_managed ? m_elements.data() : m_array; }

    /// Elements; 0 if not valid.
    std::uint32_t length() const noexcept
    {
        return !m_valid ? 0 : m_managed ? static_cast<std::uint32_t>(m_elements.size()) : m_count;
    }

    /// Sets the number of elements. New ones of a managed sequence are default-initialised, which gives numbers no
    /// value; those of an unmanaged one are what the array holds. `INSUFFICIENT_BOUND` beyond the bound,
    /// `INSUFFICIENT_MEMORY` if they can't be made; both change nothing.
    RETURN_CODE length(std::uint32_t count) noexcept
    {
        if (!m_valid) return String::INVALID_VALUE;
        if (is_bounded() && count > m_bound) return String::INSUFFICIENT_BOUND;
        if (!m_managed) {
            m_count = count;
            return String::NO_ERROR;
        }
        try {
            m_elements.resize(count);
            return String::NO_ERROR;
        } catch (...) {
            return String::INSUFFICIENT_MEMORY;
        }
    }

    /// The element at `index`. Past the end, a default element of the calling thread's own, fresh at each call.
    const T& operator[](std::uint32_t index) const noexcept { return const_cast<Sequence&>(*this)[index]; }
    T& operator[](std::uint32_t index) noexcept
    {
        if (index < length()) return buffer()[index];
        static thread_local T nothing;
        nothing = T{};
        return nothing;
    }

    /// What fits without growing: the bound of an unmanaged sequence, the storage's capacity of a managed one.
    std::uint32_t capacity() const noexcept
    {
        if (!m_valid) return 0;
        if (!m_managed) return m_bound;
        return static_cast<std::uint32_t>(std::min<std::size_t>(m_elements.capacity(), UNBOUNDED));
    }

    std::uint32_t bound() const noexcept { return m_valid ? m_bound : 0; }
    bool is_managed() const noexcept { return m_valid && m_managed; }
    bool is_bounded() const noexcept { return m_valid && m_bound < UNBOUNDED; }
    bool is_valid() const noexcept { return m_valid; }

    /// `INVALID_VALUE` if not valid, `INSUFFICIENT_BOUND` beyond the bound, `INSUFFICIENT_MEMORY` if the element can't
    /// be copied; all three change nothing.
    RETURN_CODE append(const T& element) noexcept
    {
        if (!m_valid) return String::INVALID_VALUE;
        if (is_bounded() && length() >= m_bound) return String::INSUFFICIENT_BOUND;
        try {
            if (m_managed) {
                m_elements.push_back(element);
            } else {
                m_array[m_count] = element;
                ++m_count;
            }
            return String::NO_ERROR;
        } catch (...) {
            return String::INSUFFICIENT_MEMORY;
        }
    }

private:
    using Elements = std::vector<T, Details::DefaultInitAllocator<T>>;

    Elements m_elements;  // of a managed sequence
    std::uint32_t m_bound = UNBOUNDED;
    bool m_valid = true;
    bool m_managed = true;
    T* m_array = nullptr;       // of an unmanaged sequence
    std::uint32_t m_count = 0;  // of an unmanaged sequence
};

namespace TSS {

/// One quality-of-service setting. Copying one throws `std::bad_alloc` where copying a text runs out of memory, so that
/// a sequence of them can tell.
struct QoS_Element {
    String name;
    String value;

    QoS_Element() = default;
    QoS_Element(const String& settingName, const String& settingValue) : name(settingName), value(settingValue)
    {
        check(settingName, settingValue);
    }
    QoS_Element(const QoS_Element& other) : QoS_Element(other.name, other.value) {}
    QoS_Element& operator=(const QoS_Element& other)
    {
        name = other.name;
        value = other.value;
        check(other.name, other.value);
        return *this;
    }
    ~QoS_Element() = default;

private:
    void check(const String& sourceName, const String& sourceValue) const
    {
        const bool isComplete = name.is_valid() == sourceName.is_valid() && value.is_valid() == sourceValue.is_valid();
        if (!isComplete) throw std::bad_alloc();
    }
};

}  // namespace TSS

}  // namespace FACE

#endif
