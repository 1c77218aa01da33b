#include "framework/LinkList.h"
#include "tests/framework/NamedNode.h"
#include "tests/support/MachineTest.h"

#include <string>
#include <vector>

class DoubleLinkedList : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        gHappened.clear();
        list = new TDoubleLinkList;
    }

    void TearDown() override
    {
        delete list;
        nodes = std::vector<TDoubleNamed*>();
        TMachineTest::TearDown();
    }

    void Fill(const std::string& names)
    {
        for (const char name : names) {
            nodes.push_back(new TDoubleNamed(name));
            list->Append(nodes.back());
        }
    }

    TDoubleListNode* Head() const { return TDoubleIterator(list, 1).CurrentNode(); }
    TDoubleListNode* Tail() const { return TDoubleIterator(list, 0).CurrentNode(); }

    // The nodes by their names, forwards and backwards.
    std::string Order() const
    {
        std::string order;
        for (const TListNode* node = Head(); node != nullptr; node = node->fNext)
            order += NameOf(node);
        order += '/';
        for (const TDoubleListNode* node = Tail(); node != nullptr; node = node->fPrevious)
            order += NameOf(node);
        return order;
    }

    TDoubleLinkList* list = nullptr;
    std::vector<TDoubleNamed*> nodes;
};

TEST_F(DoubleLinkedList, ANodeIsAListNodeAndThePreviousNode)
{
    static_assert(sizeof(TDoubleListNode) == 4 * sizeof(void*), "no more than that");
    TDoubleListNode previous;
    TDoubleListNode node;
    EXPECT_EQ(nullptr, node.fNext);
    EXPECT_EQ(nullptr, node.fData);
    EXPECT_EQ(nullptr, node.fPrevious);

    node.fPrevious = &previous;
    node.fData = this;
    EXPECT_EQ(this, WordsOf(node)[2]);
    EXPECT_EQ(&previous, WordsOf(node)[3]);
}

TEST_F(DoubleLinkedList, AListIsItsHeadAndItsTail)
{
    static_assert(sizeof(TDoubleLinkList) == 2 * sizeof(void*), "no more than that");
    EXPECT_EQ(nullptr, WordsOf(*list)[0]);
    EXPECT_EQ(nullptr, WordsOf(*list)[1]);

    Fill("ABC");
    EXPECT_EQ(nodes[0], WordsOf(*list)[0]);
    EXPECT_EQ(nodes[2], WordsOf(*list)[1]);
}

TEST_F(DoubleLinkedList, NodesAreAppendedAtTheTail)
{
    Fill("A");
    EXPECT_EQ("A/A", Order());
    Fill("BC");
    EXPECT_EQ("ABC/CBA", Order());
}

TEST_F(DoubleLinkedList, NodesArePrependedAtTheHead)
{
    list->Prepend(new TDoubleNamed('A'));
    EXPECT_EQ("A/A", Order());
    list->Prepend(new TDoubleNamed('B'));
    list->Prepend(new TDoubleNamed('C'));
    EXPECT_EQ("CBA/ABC", Order());
}

TEST_F(DoubleLinkedList, NullIsNeitherAppendedNorPrepended)
{
    list->Append(nullptr);
    list->Prepend(nullptr);
    EXPECT_EQ("/", Order());
    Fill("A");
    list->Append(nullptr);
    list->Prepend(nullptr);
    EXPECT_EQ("A/A", Order());
}

TEST_F(DoubleLinkedList, TheLinksThatANodeBringsAreReplaced)
{
    TDoubleListNode elsewhere;
    for (const char name : {'A', 'B', 'C', 'D'}) {
        auto* const node = new TDoubleNamed(name);
        node->fNext = &elsewhere;
        node->fPrevious = &elsewhere;
        if (name < 'C')
            list->Append(node);
        else
            list->Prepend(node);
    }

    EXPECT_EQ("DCAB/BACD", Order());
}

TEST_F(DoubleLinkedList, UnlinkingANodeMendsItsNeighbours)
{
    Fill("ABC");
    list->UnlinkNode(nodes[1]);

    EXPECT_EQ("AC/CA", Order());
    delete nodes[1];
}

TEST_F(DoubleLinkedList, UnlinkingAnEndMendsHeadAndTail)
{
    Fill("ABC");

    list->UnlinkNode(nodes[0]);
    EXPECT_EQ("BC/CB", Order());
    list->UnlinkNode(nodes[2]);
    EXPECT_EQ("B/B", Order());
    list->UnlinkNode(nodes[1]);
    EXPECT_EQ("/", Order());
    for (TDoubleNamed* const node : nodes)
        delete node;
}

TEST_F(DoubleLinkedList, AnUnlinkedNodeIsNotDestroyed)
{
    Fill("ABC");

    list->UnlinkNode(nodes[1]);
    EXPECT_EQ("", gHappened);
    list->Append(nodes[1]);
    EXPECT_EQ("ACB/BCA", Order());
}

TEST_F(DoubleLinkedList, ANodeOfNoListIsNotUnlinked)
{
    Fill("ABC");
    TDoubleNamed stranger('X');
    stranger.fNext = nodes[2];
    stranger.fPrevious = nodes[0];

    list->UnlinkNode(&stranger);
    list->UnlinkNode(nullptr);
    EXPECT_EQ("ABC/CBA", Order());
}

TEST_F(DoubleLinkedList, DestroyingAListDestroysItsNodesAndNotTheirData)
{
    {
        TDoubleLinkList shortLived;
        shortLived.Append(new TDoubleNamed('A'));
        shortLived.Append(new TDoubleNamed('B'));
    }
    EXPECT_EQ("~A~B", gHappened);
}

TEST_F(DoubleLinkedList, FromTheRearTheTailIsNumberTwo)
{
    Fill("ABCDE");

    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(0));
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(1));
    EXPECT_EQ(nodes[4], list->ReturnNthNodeFromRear(2));
    EXPECT_EQ(nodes[3], list->ReturnNthNodeFromRear(3));
    EXPECT_EQ(nodes[1], list->ReturnNthNodeFromRear(5));
}

TEST_F(DoubleLinkedList, FromTheRearTheHeadIsNeverReached)
{
    Fill("ABC");

    EXPECT_EQ(nodes[1], list->ReturnNthNodeFromRear(3));
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(4));
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(5));
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(32767));
}

TEST_F(DoubleLinkedList, FromTheRearNegativeNumbersYieldNothing)
{
    Fill("ABC");

    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(-1));
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(-2));
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(-32768));
}

TEST_F(DoubleLinkedList, FromTheRearOfASingleNodeThereIsNothing)
{
    EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(2));
    Fill("A");

    for (short n = 0; n < 4; ++n)
        EXPECT_EQ(nullptr, list->ReturnNthNodeFromRear(n)) << "n = " << n;
}

TEST_F(DoubleLinkedList, TheNthDataFromTheRearIsThatOfTheNode)
{
    Fill("ABC");

    EXPECT_EQ(nodes[2]->fData, list->ReturnNthFromRear(2));
    EXPECT_EQ(nodes[1]->fData, list->ReturnNthFromRear(3));
    EXPECT_EQ(nullptr, list->ReturnNthFromRear(1));
    EXPECT_EQ(nullptr, list->ReturnNthFromRear(4));
}

using DoubleListIterator = DoubleLinkedList;

TEST_F(DoubleListIterator, IsAnIteratorAndTheDirection)
{
    static_assert(sizeof(TDoubleIterator) == 3 * sizeof(void*), "two pointers, a short, a byte and what aligns them");
    Fill("AB");
    for (const UInt8 forward : {UInt8(0), UInt8(1), UInt8(7)}) {
        const TDoubleIterator iterator(list, forward);
        EXPECT_EQ(nodes[forward != 0 ? 0 : 1], WordsOf(iterator)[0]);
        EXPECT_EQ(list, WordsOf(iterator)[1]);
        const auto* const rest = reinterpret_cast<const unsigned char*>(&iterator) + 2 * sizeof(void*);
        short position = 0;
        memcpy(&position, rest, sizeof position);
        EXPECT_EQ(1, position);
        EXPECT_EQ(forward, rest[2]);
    }
}

TEST_F(DoubleListIterator, OnAnEmptyListItHasNoNodeAndPositionZero)
{
    for (const UInt8 forward : {UInt8(0), UInt8(1)}) {
        TDoubleIterator iterator(list, forward);
        EXPECT_EQ(nullptr, iterator.CurrentNode());
        EXPECT_EQ(0, iterator.Position());
        EXPECT_EQ(nullptr, iterator.NextNode());
        EXPECT_EQ(0, iterator.Position());
        EXPECT_EQ(nullptr, iterator.ReturnNodeData());
    }
}

TEST_F(DoubleListIterator, ForwardItGoesFromHeadToTail)
{
    Fill("ABC");
    TDoubleIterator iterator(list, 7);

    EXPECT_EQ(nodes[0], iterator.CurrentNode());
    EXPECT_EQ(1, iterator.Position());
    EXPECT_EQ(nodes[1], iterator.NextNode());
    EXPECT_EQ(2, iterator.Position());
    EXPECT_EQ(nodes[2], iterator.NextNode());
    EXPECT_EQ(3, iterator.Position());
    EXPECT_EQ(nullptr, iterator.NextNode());
    EXPECT_EQ(0, iterator.Position());
    EXPECT_EQ(nullptr, iterator.NextNode());
}

TEST_F(DoubleListIterator, BackwardItGoesFromTailToHead)
{
    Fill("ABC");
    TDoubleIterator iterator(list, 0);

    EXPECT_EQ(nodes[2], iterator.CurrentNode());
    EXPECT_EQ(nodes[1], iterator.NextNode());
    EXPECT_EQ(nodes[0], iterator.NextNode());
    EXPECT_EQ(nullptr, iterator.NextNode());
    EXPECT_EQ(0, iterator.Position());
}

// Backwards the count goes up all the same.
TEST_F(DoubleListIterator, BackwardThePositionStartsAtOneOnTheTail)
{
    Fill("ABC");
    TDoubleIterator iterator(list, 0);

    EXPECT_EQ(1, iterator.Position());
    iterator.NextNode();
    EXPECT_EQ(2, iterator.Position());
    iterator.NextNode();
    EXPECT_EQ(3, iterator.Position());
}

TEST_F(DoubleListIterator, ResetGoesBackToTheEndThatItCameFrom)
{
    Fill("ABC");
    TDoubleIterator forward(list, 1);
    TDoubleIterator backward(list, 0);
    forward.NextNode();
    backward.NextNode();
    Fill("D");

    forward.Reset();
    backward.Reset();
    EXPECT_EQ(nodes[0], forward.CurrentNode());
    EXPECT_EQ(nodes[3], backward.CurrentNode());
    EXPECT_EQ(1, forward.Position());
    EXPECT_EQ(1, backward.Position());
}

TEST_F(DoubleListIterator, HandsOutTheDataOfItsNode)
{
    Fill("ABC");
    TDoubleIterator iterator(list, 0);

    EXPECT_EQ(nodes[2]->fData, iterator.ReturnNodeData());
    EXPECT_EQ(nodes[1]->fData, iterator.ReturnNextNodeData());
    EXPECT_EQ(nodes[0]->fData, iterator.ReturnNextNodeData());
    EXPECT_EQ(nullptr, iterator.ReturnNextNodeData());
}
