#include "foundation/TArray.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>
#include <vector>

// Records of four letters, told apart by their letter; `Order` is the array as one text.
class RecordArray : public TMachineTest
{
protected:
    bool Add(char letter) { return array.AddElement(std::string(4, letter).c_str()); }
    bool Insert(char letter, unsigned long index)
    {
        return array.AddElementAtIndex(std::string(4, letter).c_str(), index);
    }
    void Fill(const std::string& letters)
    {
        for (const char letter : letters)
            ASSERT_TRUE(Add(letter));
    }
    std::string Order() const
    {
        std::string order;
        for (unsigned long index = 0; index < array.Count(); ++index) {
            const std::string record(static_cast<const char*>(array.ElementAtIndex(index)), 4);
            order += record == std::string(4, record[0]) ? record.substr(0, 1) : "(" + record + ")";
        }
        return order;
    }

    TArray array{4};
};

// What an array consists of, in order.
struct TArrayLayout
{
    const void* data;
    UInt32 elementSize;
    UInt32 count;
};

static TArrayLayout LayoutOf(const TArray& array)
{
    static_assert(sizeof(TArray) == sizeof(TArrayLayout), "a pointer and two 32-bit numbers");
    TArrayLayout layout;
    memcpy(static_cast<void*>(&layout), static_cast<const void*>(&array), sizeof layout);
    return layout;
}

TEST_F(RecordArray, DataElementSizeAndCountStandInThisOrder)
{
    Fill("AB");

    const TArrayLayout layout = LayoutOf(array);
    EXPECT_EQ(array.ElementAtIndex(0), layout.data);
    EXPECT_EQ(4u, layout.elementSize);
    EXPECT_EQ(2u, layout.count);
}

TEST_F(RecordArray, StartsEmptyWithoutABlock)
{
    EXPECT_EQ(0u, array.Count());
    EXPECT_EQ(nullptr, array.ElementAtIndex(0));
    EXPECT_EQ(nullptr, LayoutOf(array).data);
}

TEST_F(RecordArray, AnElementIsACopyOfTheRecord)
{
    char record[4] = {'w', 'x', 'y', 'z'};
    ASSERT_TRUE(array.AddElement(record));
    memset(record, 0, sizeof record);

    EXPECT_EQ(0, memcmp("wxyz", array.ElementAtIndex(0), 4));
}

TEST_F(RecordArray, OnlyElementSizeBytesOfTheRecordAreRead)
{
    // On the heap, so that a byte more is seen by the sanitizer too.
    const std::vector<char> record(4, 'A');
    ASSERT_TRUE(array.AddElement(record.data()));
    ASSERT_TRUE(array.AddElementAtIndex(record.data(), 0));

    EXPECT_EQ("AA", Order());
}

TEST_F(RecordArray, RecordsHoldZeroBytesLikeAnyOther)
{
    ASSERT_TRUE(array.AddElement("a\0b\0"));
    ASSERT_TRUE(array.AddElement("\0\0\0c"));

    EXPECT_EQ(0, memcmp("a\0b\0\0\0\0c", array.ElementAtIndex(0), 8));
}

TEST_F(RecordArray, ElementsAreCountedFromZeroAndStandBehindOneAnother)
{
    Fill("ABC");

    const char* const first = static_cast<const char*>(array.ElementAtIndex(0));
    EXPECT_EQ('A', *first);
    EXPECT_EQ(first + 4, array.ElementAtIndex(1));
    EXPECT_EQ(first + 8, array.ElementAtIndex(2));
    EXPECT_EQ("ABC", Order());
}

TEST_F(RecordArray, TheElementAtCountIsNull)
{
    Fill("AB");

    EXPECT_NE(nullptr, array.ElementAtIndex(1));
    EXPECT_EQ(nullptr, array.ElementAtIndex(2));
    EXPECT_EQ(nullptr, array.ElementAtIndex(~0ul));
}

// Every change allocates one block of exactly the records that it is to hold.
TEST_F(RecordArray, TheBlockHoldsExactlyTheRecordsThatAreCounted)
{
    std::vector<long> sizes;
    const TCallWatch watch("operator new[] nothrow",
                           [&](const TCallWatch::TArguments& arguments) { sizes.push_back(arguments[0]); });
    Fill("ABC");
    Insert('D', 2);
    array.DeleteElementAtIndex(0);
    array.DeleteElementAtIndex(0);
    Fill("E");

    EXPECT_EQ((std::vector<long>{4, 8, 12, 16, 12, 8, 12}), sizes);
}

TEST_F(RecordArray, InsertedAtTheEndARecordIsAppended)
{
    EXPECT_TRUE(Insert('A', 0));
    EXPECT_TRUE(Insert('B', 1));
    EXPECT_TRUE(Insert('C', 2));

    EXPECT_EQ("ABC", Order());
}

TEST_F(RecordArray, InsertedBeforeTheLastRecordItStandsThere)
{
    Fill("ABC");

    EXPECT_TRUE(Insert('X', 2));
    EXPECT_EQ("ABXC", Order());
}

TEST_F(RecordArray, InsertedFurtherForwardOneRecordMovesAndTheOneBehindItIsLost)
{
    Fill("ABC");

    EXPECT_TRUE(Insert('X', 0));
    EXPECT_EQ("XACX", Order());
}

TEST_F(RecordArray, InsertedInTheMiddleTheNewRecordStandsAtTheEndAsWell)
{
    Fill("ABCDE");

    EXPECT_TRUE(Insert('X', 2));
    EXPECT_EQ("ABXCEX", Order());
}

TEST_F(RecordArray, InsertedBehindTheEndItIsRefused)
{
    Fill("AB");

    EXPECT_FALSE(Insert('X', 3));
    EXPECT_FALSE(Insert('X', ~0ul));
    EXPECT_EQ("AB", Order());
}

TEST_F(RecordArray, DeletingClosesTheGap)
{
    Fill("ABCDE");

    array.DeleteElementAtIndex(1);
    EXPECT_EQ("ACDE", Order());
    array.DeleteElementAtIndex(0);
    EXPECT_EQ("CDE", Order());
    array.DeleteElementAtIndex(2);
    EXPECT_EQ("CD", Order());
}

TEST_F(RecordArray, DeletingTheOnlyRecordLeavesNoBlock)
{
    Fill("A");

    array.DeleteElementAtIndex(0);
    EXPECT_EQ(0u, array.Count());
    EXPECT_EQ(nullptr, LayoutOf(array).data);
    EXPECT_EQ(nullptr, array.ElementAtIndex(0));
}

TEST_F(RecordArray, DeletingBehindTheEndDoesNothing)
{
    array.DeleteElementAtIndex(0);
    Fill("AB");

    array.DeleteElementAtIndex(2);
    array.DeleteElementAtIndex(~0ul);
    EXPECT_EQ("AB", Order());
}

TEST_F(RecordArray, WithoutMemoryAddingFailsAndChangesNothing)
{
    Fill("AB");
    const TFault fault("operator new[] nothrow", {0, 0});

    EXPECT_FALSE(Add('X'));
    EXPECT_EQ("AB", Order());
}

TEST_F(RecordArray, WithoutMemoryInsertingFailsAndChangesNothing)
{
    Fill("AB");
    const TFault fault("operator new[] nothrow", {0, 0});

    EXPECT_FALSE(Insert('X', 1));
    EXPECT_EQ("AB", Order());
}

TEST_F(RecordArray, WithoutMemoryForTheSmallerBlockDeletingChangesNothing)
{
    Fill("AB");
    const TFault fault("operator new[] nothrow", {0, 0});

    array.DeleteElementAtIndex(0);
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_EQ("AB", Order());
}

TEST_F(RecordArray, TheLastRecordIsDeletedWithoutMemory)
{
    Fill("A");
    const TFault fault("operator new[] nothrow", {0, 0});

    array.DeleteElementAtIndex(0);
    EXPECT_EQ(0u, fault.Reached());
    EXPECT_EQ(0u, array.Count());
}

TEST_F(RecordArray, RecordsOfNoBytesAreCounted)
{
    TArray counter(0);

    EXPECT_TRUE(counter.AddElement(""));
    EXPECT_TRUE(counter.AddElement(""));
    EXPECT_EQ(2u, counter.Count());
    counter.DeleteElementAtIndex(1);
    EXPECT_EQ(1u, counter.Count());
    EXPECT_EQ(nullptr, LayoutOf(counter).data);
}
