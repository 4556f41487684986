#ifndef VICTORY_ORVANESERVER_PUBLICATIONLIST_H
#define VICTORY_ORVANESERVER_PUBLICATIONLIST_H

#include <cstddef>
#include <vector>

/// The newest `Limit` elements offered to a publication group, oldest first.
/// An append beyond the limit drops the oldest element silently. It asks for no memory: the room for all is there from
/// the beginning, and only what is appended makes use of it.
/// One thread at a time: its owner's lock guards it, for that is held until the elements have been told.
template <class T, std::size_t Limit>
class PublicationList {
public:
    PublicationList() { m_ring.reserve(Limit); }
    PublicationList(const PublicationList&) = delete;  // a copy would have less room
    PublicationList& operator=(const PublicationList&) = delete;
    PublicationList(PublicationList&&) = delete;
    PublicationList& operator=(PublicationList&&) = delete;
    ~PublicationList() = default;

    void append(const T& element)
    {
        if (size() < Limit) {
            m_ring.push_back(element);
            return;
        }
        m_ring[m_oldest] = element;
        m_oldest = (m_oldest + 1) % Limit;
    }

    /// Copies the elements to the first rows, and writes their number. Other rows stay as they are.
    template <class Count>
    void copyTo(T (&rows)[Limit], Count& count) const
    {
        for (std::size_t i = 0; i < size(); ++i) rows[i] = element(i);
        count = static_cast<Count>(size());
    }

    std::vector<T> elements() const
    {
        std::vector<T> all;
        for (std::size_t i = 0; i < size(); ++i) all.push_back(element(i));
        return all;
    }

    void clear()
    {
        m_ring.clear();
        m_oldest = 0;
    }
    bool empty() const { return m_ring.empty(); }
    std::size_t size() const { return m_ring.size(); }

private:
    /// The one that is so many behind the oldest.
    const T& element(std::size_t age) const { return m_ring[(m_oldest + age) % Limit]; }

    std::vector<T> m_ring;     // one behind the other until it is full
    std::size_t m_oldest = 0;  // where in it
};

#endif
