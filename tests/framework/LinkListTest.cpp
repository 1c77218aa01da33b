#include "framework/LinkList.h"
#include "tests/framework/AllocatedBytes.h"
#include "tests/framework/NamedNode.h"
#include "tests/framework/VirtualSlots.h"
#include "tests/support/MachineTest.h"

#include <new>
#include <string>
#include <vector>

class LinkedList : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        gHappened.clear();
    }

    void TearDown() override
    {
        Empty();
        // What is left is a leak only when nobody points to it.
        nodes = std::vector<TNamed*>();
        TMachineTest::TearDown();
    }

    void Empty()
    {
        while (list.ReturnNthNode(0) != nullptr)
            list.UnlinkNode(list.ReturnNthNode(0));
    }

    // Appends nodes A, B, C ...
    void Fill(const std::string& names)
    {
        for (const char name : names) {
            nodes.push_back(new TNamed(name));
            list.Append(nodes.back());
        }
    }

    std::string Order() const
    {
        std::string order;
        for (short n = 0; list.ReturnNthNode(n) != nullptr; ++n)
            order += NameOf(list.ReturnNthNode(n));
        return order;
    }

    TLinkList list;
    std::vector<TNamed*> nodes;
};

TEST_F(LinkedList, ANodeIsATableTheNextNodeAndTheData)
{
    static_assert(sizeof(TListNode) == 3 * sizeof(void*), "no more than that");
    TListNode next;
    TListNode node;
    node.fNext = &next;
    node.fData = this;

    const std::vector<const void*> words = WordsOf(node);
    EXPECT_EQ(&next, words[1]);
    EXPECT_EQ(this, words[2]);
}

TEST_F(LinkedList, ANewNodeHasNoNeighbourAndNoData)
{
    const TListNode node;
    EXPECT_EQ(nullptr, node.fNext);
    EXPECT_EQ(nullptr, node.fData);
}

TEST_F(LinkedList, AListIsItsHeadAlone)
{
    static_assert(sizeof(TLinkList) == sizeof(void*), "no more than that");
    EXPECT_EQ(nullptr, WordsOf(list)[0]);

    Fill("AB");
    EXPECT_EQ(nodes[0], WordsOf(list)[0]);
}

TEST_F(LinkedList, TheSlotsOfANodeAreTwoDestructorsAndDeleteData)
{
    using TOperation = void(TListNode*);
    alignas(TNamed) unsigned char room[sizeof(TNamed)];
    TListNode* const onStack = new (room) TNamed('S');
    TListNode* const onHeap = new TNamed('H');

    VirtualSlot<TOperation>(onStack, 2)(onStack);
    EXPECT_EQ("dS", gHappened);
    VirtualSlot<TOperation>(onStack, 0)(onStack);
    EXPECT_EQ("dS~S", gHappened);
    // The deleting one; the check for leaks sees whether it deleted.
    VirtualSlot<TOperation>(onHeap, 1)(onHeap);
    EXPECT_EQ("dS~S~H", gHappened);
}

TEST_F(LinkedList, ANodesDataIsFreedByDeleteDataAndNotByItsDestructor)
{
    const std::size_t before = AllocatedBytes();
    void* const data = ::operator new(kLargeBlock);
    {
        TListNode node;
        node.fData = data;
    }
    EXPECT_EQ(1, LargeBlocksSince(before));

    TListNode node;
    node.fData = data;
    node.DeleteData();
    EXPECT_EQ(0, LargeBlocksSince(before));
}

TEST_F(LinkedList, AnEmptyListHasCountZeroAndNoNodes)
{
    EXPECT_EQ(0, list.Count());
    EXPECT_EQ(nullptr, list.ReturnNthNode(0));
    EXPECT_EQ(nullptr, list.ReturnNth(0));
}

TEST_F(LinkedList, NodesAreAppendedAtTheEnd)
{
    Fill("ABC");

    EXPECT_EQ("ABC", Order());
    EXPECT_EQ(3, list.Count());
}

TEST_F(LinkedList, NodesArePrependedAtTheHead)
{
    Fill("AB");
    list.Prepend(new TNamed('X'));

    EXPECT_EQ("XAB", Order());
}

TEST_F(LinkedList, NullIsNeitherAppendedNorPrepended)
{
    list.Append(nullptr);
    list.Prepend(nullptr);
    EXPECT_EQ(0, list.Count());

    Fill("AB");
    list.Append(nullptr);
    list.Prepend(nullptr);
    EXPECT_EQ("AB", Order());
}

// A node that brings others with it brings them into the list.
TEST_F(LinkedList, AppendLeavesTheNodesOwnNextAsItIs)
{
    auto* const first = new TNamed('X');
    first->fNext = new TNamed('Y');
    Fill("A");
    list.Append(first);

    EXPECT_EQ("AXY", Order());
}

TEST_F(LinkedList, PrependReplacesTheNodesOwnNext)
{
    TListNode elsewhere;
    auto* const node = new TNamed('X');
    node->fNext = &elsewhere;
    Fill("A");
    list.Prepend(node);

    EXPECT_EQ("XA", Order());
}

TEST_F(LinkedList, NodesAreCountedFromZeroAndNoneIsNegative)
{
    Fill("ABC");

    EXPECT_EQ(nodes[0], list.ReturnNthNode(0));
    EXPECT_EQ(nodes[2], list.ReturnNthNode(2));
    EXPECT_EQ(nullptr, list.ReturnNthNode(3));
    EXPECT_EQ(nullptr, list.ReturnNthNode(32767));
    EXPECT_EQ(nullptr, list.ReturnNthNode(-1));
    EXPECT_EQ(nullptr, list.ReturnNthNode(-32768));
}

TEST_F(LinkedList, TheNthDataIsTheDataOfTheNthNode)
{
    Fill("AB");

    EXPECT_EQ(nodes[0]->fData, list.ReturnNth(0));
    EXPECT_EQ(nodes[1]->fData, list.ReturnNth(1));
    EXPECT_EQ(nullptr, list.ReturnNth(2));
    EXPECT_EQ(nullptr, list.ReturnNth(-1));
}

TEST_F(LinkedList, CountsAreSigned16Bit)
{
    static_assert(std::is_same<short, decltype(list.Count())>::value, "");
    TListNode* last = new TListNode;
    list.Append(last);
    for (int n = 1; n < 32767; ++n) {
        last->fNext = new TListNode;
        last = last->fNext;
    }
    EXPECT_EQ(32767, list.Count());
    EXPECT_EQ(last, list.ReturnNthNode(32766));

    last->fNext = new TListNode;
    EXPECT_EQ(-32768, list.Count());
}

TEST_F(LinkedList, UnlinkingANodeDestroysItAndNotItsData)
{
    Fill("ABC");

    list.UnlinkNode(nodes[1]);
    EXPECT_EQ("AC", Order());
    EXPECT_EQ("~B", gHappened);
}

TEST_F(LinkedList, TheHeadAndTheLastNodeAreUnlinkedLikeAnyOther)
{
    Fill("ABC");

    list.UnlinkNode(nodes[0]);
    EXPECT_EQ("BC", Order());
    list.UnlinkNode(nodes[2]);
    EXPECT_EQ("B", Order());
    list.UnlinkNode(nodes[1]);
    EXPECT_EQ("", Order());
    EXPECT_EQ("~A~C~B", gHappened);
}

TEST_F(LinkedList, ANodeOfNoListIsNotUnlinkedNorDestroyed)
{
    Fill("AB");
    TNamed stranger('X');
    stranger.fNext = nodes[1];

    list.UnlinkNode(&stranger);
    list.UnlinkNode(nullptr);
    EXPECT_EQ("AB", Order());
    EXPECT_EQ("", gHappened);
    EXPECT_EQ(nodes[1], stranger.fNext);
}

TEST_F(LinkedList, UnlinkingByDataTakesTheFirstNodeWithIt)
{
    Fill("ABC");
    char shared = 'S';
    nodes[1]->fData = &shared;
    nodes[2]->fData = &shared;

    list.Unlink(&shared);
    EXPECT_EQ("AS", Order());
    EXPECT_EQ("~B", gHappened);
}

TEST_F(LinkedList, UnlinkingDataThatNoNodeHoldsDoesNothing)
{
    Fill("AB");
    char stranger = 'X';

    list.Unlink(&stranger);
    list.Unlink(nullptr);
    EXPECT_EQ("AB", Order());
    EXPECT_EQ("", gHappened);
}

TEST_F(LinkedList, UnlinkingNullTakesTheFirstNodeWithoutData)
{
    Fill("ABC");
    nodes[1]->fData = nullptr;

    list.Unlink(nullptr);
    EXPECT_EQ("AC", Order());
}

TEST_F(LinkedList, RemovingANodeFreesItsDataToo)
{
    Fill("AB");
    const std::size_t before = AllocatedBytes();
    void* const data = ::operator new(kLargeBlock);
    nodes[0]->fData = data;

    list.RemoveNode(data);
    EXPECT_EQ("B", Order());
    EXPECT_EQ("~A", gHappened);
    EXPECT_EQ(0, LargeBlocksSince(before));
}

TEST_F(LinkedList, RemovingDataThatNoNodeHoldsStillFreesIt)
{
    Fill("AB");
    const std::size_t before = AllocatedBytes();
    void* const data = ::operator new(kLargeBlock);
    ASSERT_EQ(1, LargeBlocksSince(before));

    list.RemoveNode(data);
    EXPECT_EQ("AB", Order());
    EXPECT_EQ(0, LargeBlocksSince(before));
}

// The node's own DeleteData is not asked.
TEST_F(LinkedList, RemovingFreesTheDataItselfAndNotThroughTheNode)
{
    Fill("A");
    void* const data = ::operator new(8);
    nodes[0]->fData = data;

    list.RemoveNode(data);
    EXPECT_EQ("~A", gHappened);
}

TEST_F(LinkedList, DestroyingAListDestroysItsNodesAndNotTheirData)
{
    {
        TLinkList shortLived;
        shortLived.Append(new TNamed('A'));
        shortLived.Append(new TNamed('B'));
    }
    EXPECT_EQ("~A~B", gHappened);
}

TEST_F(LinkedList, DeletingTheListsDataFreesEachNodesDataAndThenTheNode)
{
    Fill("ABC");

    list.DeleteListData();
    EXPECT_EQ("dA~AdB~BdC~C", gHappened);
    EXPECT_EQ(0, list.Count());
    list.DeleteListData();
    EXPECT_EQ("dA~AdB~BdC~C", gHappened);
}

TEST_F(LinkedList, DataIsFreedWithPlainDeleteUnlessANodeKnowsBetter)
{
    const std::size_t before = AllocatedBytes();
    auto* const node = new TListNode;
    node->fData = ::operator new(kLargeBlock);
    list.Append(node);

    list.DeleteListData();
    EXPECT_EQ(0, LargeBlocksSince(before));
}

TEST_F(LinkedList, TheNodeNumberOfDataIsMinusOneWhetherFoundOrNot)
{
    Fill("ABC");
    char stranger = 'X';

    EXPECT_EQ(-1, list.ReturnNodeNumber(nodes[0]->fData));
    EXPECT_EQ(-1, list.ReturnNodeNumber(nodes[2]->fData));
    EXPECT_EQ(-1, list.ReturnNodeNumber(&stranger));
    EXPECT_EQ(-1, list.ReturnNodeNumber(nodes[1]));
}

TEST_F(LinkedList, TheNodeNumberOfNullThatNoNodeHoldsIsTheCountLessOne)
{
    EXPECT_EQ(-1, list.ReturnNodeNumber(nullptr));
    Fill("A");
    EXPECT_EQ(0, list.ReturnNodeNumber(nullptr));
    Fill("BC");
    EXPECT_EQ(2, list.ReturnNodeNumber(nullptr));
}

TEST_F(LinkedList, TheNodeNumberOfNullThatANodeHoldsIsMinusOne)
{
    Fill("ABC");
    nodes[2]->fData = nullptr;

    EXPECT_EQ(-1, list.ReturnNodeNumber(nullptr));
}

TEST_F(LinkedList, TheNodeNumberOfANodeThatHoldsItselfIsItsPlaceLessOne)
{
    Fill("ABC");
    for (TNamed* const node : nodes)
        node->fData = static_cast<TListNode*>(node);

    EXPECT_EQ(-1, list.ReturnNodeNumber(nodes[0]));
    EXPECT_EQ(0, list.ReturnNodeNumber(nodes[1]));
    EXPECT_EQ(1, list.ReturnNodeNumber(nodes[2]));
}

using ListIterator = LinkedList;

TEST_F(ListIterator, IsTheCurrentNodeTheListAndThePosition)
{
    static_assert(sizeof(TIterator) == 3 * sizeof(void*), "two pointers, a short and what aligns them");
    Fill("AB");
    TIterator iterator(&list);
    iterator.NextNode();

    EXPECT_EQ(nodes[1], WordsOf(iterator)[0]);
    EXPECT_EQ(&list, WordsOf(iterator)[1]);
    short position = 0;
    memcpy(&position, reinterpret_cast<const char*>(&iterator) + 2 * sizeof(void*), sizeof position);
    EXPECT_EQ(2, position);
}

TEST_F(ListIterator, OnAnEmptyListItHasNoNodeAndPositionZero)
{
    TIterator iterator(&list);

    EXPECT_EQ(0, iterator.Position());
    EXPECT_EQ(nullptr, iterator.ReturnNodeData());
    EXPECT_EQ(nullptr, iterator.NextNode());
    EXPECT_EQ(nullptr, iterator.ReturnNextNodeData());
    EXPECT_EQ(0, iterator.Position());
}

TEST_F(ListIterator, StartsOnTheFirstNodeAndCountsFromOne)
{
    Fill("ABC");
    TIterator iterator(&list);

    EXPECT_EQ(nodes[0]->fData, iterator.ReturnNodeData());
    EXPECT_EQ(1, iterator.Position());
    EXPECT_EQ(nodes[1], iterator.NextNode());
    EXPECT_EQ(2, iterator.Position());
    EXPECT_EQ(nodes[1]->fData, iterator.ReturnNodeData());
    EXPECT_EQ(nodes[2], iterator.NextNode());
    EXPECT_EQ(3, iterator.Position());
}

TEST_F(ListIterator, AtTheEndItHasPositionZeroAndStaysThere)
{
    Fill("A");
    TIterator iterator(&list);

    EXPECT_EQ(nullptr, iterator.NextNode());
    EXPECT_EQ(0, iterator.Position());
    EXPECT_EQ(nullptr, iterator.ReturnNodeData());
    EXPECT_EQ(nullptr, iterator.NextNode());
    EXPECT_EQ(0, iterator.Position());
}

TEST_F(ListIterator, TheNextDataIsThatOfTheNodeBehind)
{
    Fill("ABC");
    TIterator iterator(&list);

    EXPECT_EQ(nodes[1]->fData, iterator.ReturnNextNodeData());
    EXPECT_EQ(2, iterator.Position());
    EXPECT_EQ(nodes[2]->fData, iterator.ReturnNextNodeData());
    EXPECT_EQ(nullptr, iterator.ReturnNextNodeData());
    EXPECT_EQ(0, iterator.Position());
}

TEST_F(ListIterator, ResetGoesBackToTheFirstNodeThatThereIsNow)
{
    Fill("AB");
    TIterator iterator(&list);
    iterator.NextNode();
    list.Prepend(new TNamed('X'));

    iterator.Reset();
    EXPECT_EQ('X', NameOf(iterator.CurrentNode()));
    EXPECT_EQ(1, iterator.Position());

    Empty();
    iterator.Reset();
    EXPECT_EQ(nullptr, iterator.CurrentNode());
    EXPECT_EQ(0, iterator.Position());
}

TEST_F(ListIterator, NodesThatAreAppendedMeanwhileAreVisited)
{
    Fill("A");
    TIterator iterator(&list);
    Fill("B");

    EXPECT_EQ(nodes[1], iterator.NextNode());
}

TEST_F(ListIterator, PositionsAreSigned16Bit)
{
    static_assert(std::is_same<short, decltype(TIterator(nullptr).Position())>::value, "");
    TListNode* last = new TListNode;
    list.Append(last);
    for (int n = 1; n <= 32767; ++n) {
        last->fNext = new TListNode;
        last = last->fNext;
    }
    TIterator iterator(&list);
    for (int n = 1; n < 32767; ++n)
        iterator.NextNode();

    EXPECT_EQ(32767, iterator.Position());
    iterator.NextNode();
    EXPECT_EQ(-32768, iterator.Position());
}
