#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

#include "zevcore/Export.h"

/// A growing array of values whose first index is `lower` (1 unless moved).
///
/// Invariants: `data` always holds `upper - lower + 1` >= 1 slots; the elements in use are
/// the first `count` slots, at indices `lower` to `lower + count - 1`. Storage never shrinks.
/// `upper` grows by `growBy` at a time, but the allocation beneath it at least doubles, so
/// that filling an array costs time in proportion to what it holds; the slots allocated past
/// `upper` are never reached and keep their default value until `upper` takes them in.
///
/// Indexing checks against the storage (`lower` to `upper`), not against `count`: an index
/// past `count` but within the storage reaches a stale or default slot, and an index outside
/// the storage reaches one dummy element shared by every array of the same T, so a write
/// there does not reach any array and a read returns whatever was last left there.
template <typename T>
class ZEVCORE_API CTArray {
public:
    /// The largest `upper` an array grows to.
    static constexpr std::int32_t kMaxUpper = 0x7ffffffe;

    std::int32_t lower = 1;
    std::int32_t upper = 5;
    std::int32_t growBy = 5;
    std::int32_t count = 0;
    T* data = nullptr;

    CTArray() : data(new T[5]()) {}

    CTArray(const CTArray& other)
        : lower(other.lower), upper(other.upper), growBy(other.growBy), count(other.count) {
        allocated = slotsFor(lower, upper);
        data = new T[allocated]();
        std::copy(other.data, other.data + count, data);
    }

    CTArray& operator=(const CTArray& other) {
        if (this == &other) return *this;
        clear();
        lower = other.lower;
        upper = other.upper;
        growBy = other.growBy;
        count = other.count;
        const std::size_t slots = slotsFor(lower, upper);
        T* fresh = new T[slots]();
        std::copy(other.data, other.data + count, fresh);
        delete[] data;
        data = fresh;
        allocated = slots;
        return *this;
    }

    ~CTArray() {
        clear();
        delete[] data;
    }

    /// Appends a copy of `value`; answers its index, or 0 when the array cannot grow (then
    /// the value is dropped).
    std::int32_t add(const T& value) {
        if (count == INT32_MAX || (count == capacity() && !grow())) return 0;
        data[count] = value;
        return lower + count++;
    }

    T& at(std::int32_t index) {
        if (index < lower || index > upper) return dummy();
        return data[static_cast<std::int64_t>(index) - lower];
    }
    const T& at(std::int32_t index) const { return const_cast<CTArray*>(this)->at(index); }
    T& operator[](std::int32_t index) { return at(index); }
    const T& operator[](std::int32_t index) const { return at(index); }

    /// Forgets the elements; storage, bounds and `growBy` stay, so old values remain
    /// readable through `at`.
    void clear() { count = 0; }

    std::int32_t getCount() const { return count; }
    std::int32_t getLower() const { return lower; }
    /// The index of the last element in use (`lower - 1` when empty).
    std::int32_t getLast() const { return lower + count - 1; }

    /// Moves the index base; the elements and the number of slots stay.
    void setLower(std::int32_t newLower) {
        std::int64_t newUpper = static_cast<std::int64_t>(newLower) + capacity() - 1;
        if (newUpper > kMaxUpper) return;
        lower = newLower;
        upper = static_cast<std::int32_t>(newUpper);
    }

    void setGrowBy(std::int32_t n) { growBy = n; }

    /// The invariants above.
    bool IsValid() const {
        return data != nullptr && lower <= upper && count >= 0 && count <= capacity() &&
               static_cast<std::int64_t>(allocated) >= capacity();
    }

    /// The element shared by every out-of-range index of this T.
    static T& dummy() {
        static T element{};
        return element;
    }

private:
    static std::size_t slotsFor(std::int32_t lo, std::int32_t hi) {
        std::int64_t n = static_cast<std::int64_t>(hi) - lo + 1;
        return static_cast<std::size_t>(n < 1 ? 1 : n);
    }

    // The slots `data` holds, `upper - lower + 1` or more.
    std::size_t allocated = 5;

    std::int64_t capacity() const { return static_cast<std::int64_t>(upper) - lower + 1; }

    bool grow() {
        if (growBy < 1 || upper >= kMaxUpper) return false;
        std::int64_t newUpper =
            std::min<std::int64_t>(static_cast<std::int64_t>(upper) + growBy, kMaxUpper);
        const std::size_t slots = slotsFor(lower, static_cast<std::int32_t>(newUpper));
        if (slots > allocated) {
            const std::size_t wanted = std::max(slots, 2 * allocated);
            T* fresh = new (std::nothrow) T[wanted]();
            if (!fresh) return false;
            // count never exceeds the new slots; the bound says so to the optimiser too.
            std::size_t keep = std::min(static_cast<std::size_t>(count), slots);
            for (std::size_t i = 0; i < keep; ++i) fresh[i] = data[i];
            delete[] data;
            data = fresh;
            allocated = wanted;
        }
        upper = static_cast<std::int32_t>(newUpper);
        return true;
    }
};
