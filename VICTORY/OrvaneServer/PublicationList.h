#ifndef VICTORY_ORVANESERVER_PUBLICATIONLIST_H
#define VICTORY_ORVANESERVER_PUBLICATIONLIST_H

#include <array>
#include <cstddef>
#include <vector>

/// The newest `Limit` elements offered to a publication group, oldest first.
/// An append beyond the limit drops the oldest element silently. It asks for no memory: the room for all is here.
/// One thread at a time: its owner's lock guards it, for that is held until the elements have been told.
template <class T, std::size_t Limit>
class PublicationList {
public:
    void append(const T& element)
    {
        m_ring[indexOf(m_size)] = element;
        if (m_size < Limit)
            ++m_size;
        else
            m_oldest = indexOf(1);
    }

    /// Copies the elements to the first rows, and writes their number. Other rows stay as they are.
    template <class Count>
    void copyTo(T (&rows)[Limit], Count& count) const
    {
        for (std::size_t i = 0; i < m_size; ++i) rows[i] = m_ring[indexOf(i)];
        count = static_cast<Count>(m_size);
    }

    std::vector<T> elements() const
    {
        std::vector<T> all;
        for (std::size_t i = 0; i < m_size; ++i) all.push_back(m_ring[indexOf(i)]);
        return all;
    }

    void clear() { m_size = 0; }
    bool empty() const { return m_size == 0; }
    std::size_t size() const { return m_size; }

private:
    /// Where the element stands that is so many behind the oldest.
    std::size_t indexOf(std::size_t age) const { return (m_oldest + age) % Limit; }

    std::array<T, Limit> m_ring{};
    std::size_t m_oldest = 0;
    std::size_t m_size = 0;
};

#endif
