#pragma once

// A growing array of heap objects, addressed like CTArray from index 1, that deletes what it
// owns when it is cleared, shrunk or destroyed.

#include <algorithm>
#include <cstdint>
#include <vector>

template <typename T>
class TPointerArray {
public:
    /// `capacity` slots are reserved at once; the array then grows by at least `growBy` at a
    /// time, and by as many slots as it holds when that is more, so that filling it costs
    /// time in proportion to what it holds.
    explicit TPointerArray(std::int32_t capacity = 0, std::int32_t growBy = 0, bool owns = true)
        : m_owns(owns), m_growBy(growBy) {
        m_data.reserve(static_cast<std::size_t>(capacity > 0 ? capacity : 0));
    }
    ~TPointerArray() { clear(); }
    TPointerArray(const TPointerArray&) = delete;
    TPointerArray& operator=(const TPointerArray&) = delete;

    /// Appends and answers the new element's index.
    std::int32_t add(T* item) {
        if (m_data.size() == m_data.capacity())
            m_data.reserve(m_data.size() + std::max(m_data.size(), static_cast<std::size_t>(
                                                                       std::max(m_growBy, 1))));
        m_data.push_back(item);
        return getCount();
    }
    /// The element at `index` (1 to getCount()), or null outside.
    T* at(std::int32_t index) const {
        return index >= 1 && index <= getCount() ? m_data[static_cast<std::size_t>(index - 1)]
                                                 : nullptr;
    }
    T* operator[](std::int32_t index) const { return at(index); }
    /// Puts `item` at `index` and answers the element it replaces, which the caller now owns;
    /// null (and `item` not taken) outside the array.
    T* replace(std::int32_t index, T* item) {
        if (index < 1 || index > getCount()) return nullptr;
        T* old = m_data[static_cast<std::size_t>(index - 1)];
        m_data[static_cast<std::size_t>(index - 1)] = item;
        return old;
    }
    /// Removes the element at `index`, deleting it when owned, and closes the gap.
    void removeAt(std::int32_t index) {
        if (index < 1 || index > getCount()) return;
        if (m_owns) delete m_data[static_cast<std::size_t>(index - 1)];
        m_data.erase(m_data.begin() + (index - 1));
    }
    /// Removes every element, deleting the owned ones, the last first.
    void clear() {
        while (!m_data.empty()) {
            if (m_owns) delete m_data.back();
            m_data.pop_back();
        }
    }
    std::int32_t getCount() const { return static_cast<std::int32_t>(m_data.size()); }
    /// The elements the array holds before it must grow.
    std::size_t capacity() const { return m_data.capacity(); }
    bool owns() const { return m_owns; }

private:
    bool m_owns;
    std::int32_t m_growBy;
    std::vector<T*> m_data;
};
