#ifndef LAB_LIBVICTORY_DESCRIPTOR_H
#define LAB_LIBVICTORY_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace labvictory {

/// Owns a file descriptor, or none (-1). One thread at a time.
class Descriptor {
public:
    explicit Descriptor(int value = -1) : m_value(value) {}
    ~Descriptor()
    {
        if (m_value >= 0) ::close(m_value);
    }
    Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }

    int get() const { return m_value; }
    explicit operator bool() const { return m_value >= 0; }

private:
    int m_value;
};

}  // namespace labvictory

#endif
