#ifndef VICTORY_ORVANESERVER_PUBLICATIONLIST_H
#define VICTORY_ORVANESERVER_PUBLICATIONLIST_H

#include <cstddef>
#include <deque>

/// The newest `Limit` elements offered to a publication group, oldest first.
/// An append beyond the limit drops the oldest element silently.
/// One thread at a time: its owner's lock guards it, for that is held until the elements have been told.
template <class T, std::size_t Limit>
class PublicationList {
public:
    void append(const T& element)
    {
        m_elements.push_back(element);
        if (m_elements.size() > Limit) m_elements.pop_front();
    }

    /// Copies the elements to the first rows, and writes their number. Other rows stay as they are.
    template <class Count>
    void copyTo(T (&rows)[Limit], Count& count) const
    {
        count = 0;
        for (const T& element : m_elements) rows[count++] = element;
    }

    void clear() { m_elements.clear(); }
    bool empty() const { return m_elements.empty(); }
    std::size_t size() const { return m_elements.size(); }
    auto begin() const { return m_elements.begin(); }
    auto end() const { return m_elements.end(); }

private:
    std::deque<T> m_elements;
};

#endif
