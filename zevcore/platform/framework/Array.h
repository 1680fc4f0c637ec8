#pragma once

// The framework's arrays: CArray of values, CObArray of object pointers (with its archive
// form), CTypedPtrArray over it, and CStringArray. Indices are zero-based; GetAt and
// operator[] with an index out of range throw std::out_of_range rather than reach past the
// storage.

#include <cstdint>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Object.h"
#include "zevcore/platform/framework/String.h"

namespace zev::detail {

/// The shared operations of the array classes over a vector.
template <typename T>
class ArrayBase {
public:
    using value_type = T;

    int GetSize() const { return static_cast<int>(m_items.size()); }
    int GetCount() const { return GetSize(); }
    int GetUpperBound() const { return GetSize() - 1; }
    bool IsEmpty() const { return m_items.empty(); }
    /// Grows with default values or shrinks; a negative size empties.
    void SetSize(int size) { m_items.resize(size < 0 ? 0 : static_cast<std::size_t>(size)); }
    void RemoveAll() { m_items.clear(); }

    const T& GetAt(int index) const { return m_items.at(checked(index)); }
    T& ElementAt(int index) { return m_items.at(checked(index)); }
    void SetAt(int index, const T& value) { m_items.at(checked(index)) = value; }
    /// Sets the element, growing the array as needed; a negative index is ignored.
    void SetAtGrow(int index, const T& value) {
        if (index < 0) return;
        if (index >= GetSize()) SetSize(index + 1);
        m_items[static_cast<std::size_t>(index)] = value;
    }
    const T& operator[](int index) const { return GetAt(index); }
    T& operator[](int index) { return ElementAt(index); }

    /// Appends; answers the new element's index.
    int Add(const T& value) {
        m_items.push_back(value);
        return GetUpperBound();
    }
    /// Inserts `count` copies at `index` (clamped to the ends).
    void InsertAt(int index, const T& value, int count = 1) {
        if (count <= 0) return;
        const std::size_t at = static_cast<std::size_t>(index < 0 ? 0 : std::min(index, GetSize()));
        m_items.insert(m_items.begin() + static_cast<std::ptrdiff_t>(at),
                       static_cast<std::size_t>(count), value);
    }
    /// Removes up to `count` elements from `index`; out-of-range parts are ignored.
    void RemoveAt(int index, int count = 1) {
        if (index < 0 || index >= GetSize() || count <= 0) return;
        const auto first = m_items.begin() + index;
        m_items.erase(first, first + std::min(count, GetSize() - index));
    }

    auto begin() { return m_items.begin(); }
    auto end() { return m_items.end(); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

protected:
    static std::size_t checked(int index) {
        if (index < 0) throw std::out_of_range("array index below zero");
        return static_cast<std::size_t>(index);
    }

    std::vector<T> m_items;
};

}  // namespace zev::detail

/// An array of values. Its archive form is the element count in the count form, then the
/// elements: numbers each in their archive form (so an `int` array is raw 4-byte numbers).
template <typename TYPE, typename ARG_TYPE = const TYPE&>
class CArray : public CObject, public zev::detail::ArrayBase<TYPE> {
public:
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar.WriteCount(this->m_items.size());
            for (const TYPE& item : this->m_items) ar << item;
        } else {
            // Grown one element at a time: a count larger than the data ends in endOfFile,
            // not in one huge allocation.
            const std::uint64_t count = ar.ReadCount();
            this->m_items.clear();
            for (std::uint64_t i = 0; i < count; ++i) {
                TYPE item{};
                ar >> item;
                this->m_items.push_back(item);
            }
        }
    }
};

/// An array of object pointers; it does not own them. Its archive form is the count, then
/// each element in the tagged object form.
class ZEVCORE_API CObArray : public CObject, public zev::detail::ArrayBase<CObject*> {
    DECLARE_SERIAL(CObArray)
public:
    CObArray();
    ~CObArray() override;
    void Serialize(CArchive& ar) override;
};

/// A typed view of a CObArray (or another pointer array).
template <typename BASE_CLASS, typename TYPE>
class CTypedPtrArray : public BASE_CLASS {
public:
    TYPE GetAt(int index) const { return static_cast<TYPE>(BASE_CLASS::GetAt(index)); }
    TYPE operator[](int index) const { return GetAt(index); }
    int Add(TYPE value) { return BASE_CLASS::Add(value); }
    void SetAt(int index, TYPE value) { BASE_CLASS::SetAt(index, value); }
};

/// An array of strings.
class ZEVCORE_API CStringArray : public CObject, public zev::detail::ArrayBase<CString> {
    DECLARE_SERIAL(CStringArray)
public:
    CStringArray();
    ~CStringArray() override;
    CStringArray(const CStringArray&);
    CStringArray& operator=(const CStringArray&);
    /// The count in the count form, then each string in the archive's text form.
    void Serialize(CArchive& ar) override;
};
