#include "zevcore/frame/TArray.h"

#include <gtest/gtest.h>

namespace {

TEST(TArray, StartsWithFiveSlotsFromIndexOne) {
    CTArray<int> a;
    EXPECT_EQ(a.lower, 1);
    EXPECT_EQ(a.upper, 5);
    EXPECT_EQ(a.growBy, 5);
    EXPECT_EQ(a.count, 0);
    ASSERT_NE(a.data, nullptr);
}

TEST(TArray, AddAnswersIndicesAndGrowsByFive) {
    CTArray<int> a;
    for (int i = 1; i <= 5; ++i) EXPECT_EQ(a.add(i * 10), i);
    EXPECT_EQ(a.upper, 5);
    EXPECT_EQ(a.add(60), 6);
    EXPECT_EQ(a.upper, 10);
    for (int i = 1; i <= 6; ++i) EXPECT_EQ(a[i], i * 10);
    EXPECT_EQ(a.getLast(), 6);
}

TEST(TArray, IndexIsCheckedAgainstStorageNotCount) {
    CTArray<int> a;
    a.add(7);
    EXPECT_EQ(a[3], 0);  // within storage, past count: a default slot
    a[3] = 99;           // reaches the storage
    EXPECT_EQ(a.data[2], 99);
    EXPECT_EQ(a.count, 1);
}

TEST(TArray, OutOfRangeReachesOneDummyPerType) {
    CTArray<double> a, b;
    a[0] = 4.5;            // below lower
    EXPECT_EQ(b[6], 4.5);  // above upper of another array: the same dummy
    EXPECT_EQ(&a[-100], &CTArray<double>::dummy());
    b.add(1.0);
    EXPECT_EQ(b[1], 1.0);
    CTArray<int> ints;
    EXPECT_NE(static_cast<void*>(&ints[0]), static_cast<void*>(&a[0]));
}

TEST(TArray, ClearKeepsStorageAndOldValuesReadable) {
    CTArray<int> a;
    for (int i = 1; i <= 7; ++i) a.add(i);
    a.clear();
    EXPECT_EQ(a.count, 0);
    EXPECT_EQ(a.upper, 10);
    EXPECT_EQ(a[7], 7);
    EXPECT_EQ(a.add(42), 1);
    EXPECT_EQ(a[2], 2);
}

TEST(TArray, CannotGrowWithoutGrowByAndDropsTheElement) {
    CTArray<int> a;
    a.setGrowBy(0);
    for (int i = 1; i <= 5; ++i) EXPECT_EQ(a.add(i), i);
    EXPECT_EQ(a.add(6), 0);
    EXPECT_EQ(a.count, 5);
    EXPECT_EQ(a.upper, 5);
}

TEST(TArray, GrowthStopsAtTheLimit) {
    CTArray<char> a;
    a.setLower(CTArray<char>::kMaxUpper - 4);  // storage exactly up to the limit
    EXPECT_EQ(a.upper, CTArray<char>::kMaxUpper);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(a.add('x'), CTArray<char>::kMaxUpper - 4 + i);
    EXPECT_EQ(a.add('y'), 0);
    EXPECT_EQ(a.count, 5);
}

TEST(TArray, GrowthIsHeldAtTheLimit) {
    CTArray<char> a;
    a.setLower(CTArray<char>::kMaxUpper - 3);  // upper would pass the limit: refused
    EXPECT_EQ(a.lower, 1);
    a.setLower(CTArray<char>::kMaxUpper - 5);
    a.setGrowBy(100);
    for (int i = 0; i < 6; ++i) a.add('x');
    EXPECT_EQ(a.upper, CTArray<char>::kMaxUpper);  // 5 slots grew by 1, not by 100
    EXPECT_EQ(a.count, 6);
}

TEST(TArray, MovedBaseIndexesFromIt) {
    CTArray<int> a;
    a.setLower(0);
    EXPECT_EQ(a.upper, 4);
    EXPECT_EQ(a.add(5), 0);
    EXPECT_EQ(a.add(6), 1);
    EXPECT_EQ(a[0], 5);
}

TEST(TArray, CopiesAreDeepAndKeepTheirNumbers) {
    CTArray<CTArray<int>> rings;
    CTArray<int> ring;
    for (int i = 1; i <= 6; ++i) ring.add(i);
    rings.add(ring);
    CTArray<CTArray<int>> copy(rings);
    copy[1][1] = 100;
    EXPECT_EQ(rings[1][1], 1);
    EXPECT_EQ(copy[1].count, 6);
    EXPECT_EQ(copy[1].upper, 10);

    CTArray<int> assigned;
    assigned = ring;
    CTArray<int>& same = assigned;
    assigned = same;  // self-assignment changes nothing
    EXPECT_EQ(assigned.count, 6);
    EXPECT_EQ(assigned[6], 6);
    assigned[6] = -1;
    EXPECT_EQ(ring[6], 6);
}

TEST(TArrayRegression, FillingMovesTheElementsLogarithmicallyOften) {
    // Each growth by the fixed step of five allocated anew and copied every element, so
    // filling an array cost time in the square of its size.
    CTArray<int> a;
    int moves = 0;
    for (int i = 1; i <= 100000; ++i) {
        const int* before = a.data;
        ASSERT_EQ(a.add(i), i);
        moves += a.data != before;
        ASSERT_EQ(a.upper, 5 * ((i + 4) / 5));  // the stated growth by five is what shows
        if (i % 9973 == 0) {
            ASSERT_TRUE(a.IsValid());
        }
    }
    EXPECT_LE(moves, 20);
    EXPECT_EQ(a[100000], 100000);
    EXPECT_EQ(&a[100001], &CTArray<int>::dummy());  // past upper, though allocated
    CTArray<int> copy(a);
    EXPECT_TRUE(copy.IsValid());
    EXPECT_EQ(copy[99999], 99999);
    a.clear();
    EXPECT_TRUE(a.IsValid());
}

}  // namespace
