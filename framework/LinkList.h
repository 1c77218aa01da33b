// Linked lists of nodes that each carry one untyped pointer, and iterators over them.
//
// Positions and counts are signed 16-bit: a list holds up to 32,767 nodes. A list owns its nodes, which are made with
// `new`. It does not own their data: that is freed by DeleteListData, DeleteData and RemoveNode alone, with plain
// ::operator delete, which runs no destructor. Data that came from elsewhere must not be given to these.

#ifndef HALVORIX_FRAMEWORK_LINKLIST_H
#define HALVORIX_FRAMEWORK_LINKLIST_H

#include <CoreServices/CoreServices.h>

// A node of a TLinkList.
class TListNode
{
public:
    constexpr TListNode() : fNext(nullptr), fData(nullptr) {}

    // Leaves the data alone.
    virtual ~TListNode();

    // Frees the data. A node whose data was not made with ::operator new overrides this.
    virtual void DeleteData();

    TListNode(const TListNode&) = delete;
    TListNode& operator=(const TListNode&) = delete;

    TListNode* fNext;   // null at the end of a list
    void* fData;
};

// A node of a TDoubleLinkList.
class TDoubleListNode : public TListNode
{
public:
    constexpr TDoubleListNode() : fPrevious(nullptr) {}

    TDoubleListNode* fPrevious;   // null at the head of a list
};

// A singly linked list.
class TLinkList
{
public:
    // An empty list. A list with static storage is empty before any other static object is constructed.
    constexpr TLinkList() : fHead(nullptr) {}

    // Destroys the nodes; their data stays.
    ~TLinkList();

    TLinkList(const TLinkList&) = delete;
    TLinkList& operator=(const TLinkList&) = delete;

    // Frees the data of every node (DeleteData) and destroys the nodes, from the head on. The list is empty then.
    void DeleteListData();

    // Returns how many nodes there are.
    short Count() const;

    // Makes the node the head; ignores null. The node is the list's from here on.
    void Prepend(TListNode* node);

    // Puts the node behind the last one; ignores null. The node's own fNext is left as it is: it must be null, unless
    // the node brings further nodes with it. They are the list's from here on.
    void Append(TListNode* node);

    // Returns the node at this place, counted from 0 at the head, or null when n is negative or there are no more than n.
    // It stays the list's.
    TListNode* ReturnNthNode(short n) const;

    // Returns the data of the node at place n, or null when there is no such node. It stays its owner's.
    void* ReturnNth(short n) const;

    // Takes the node out of the list and destroys it; its data stays. Does nothing to a node that is not in this list.
    void UnlinkNode(TListNode* node);

    // Does so to the first node with this data; nothing when there is none.
    void Unlink(void* data);

    // Does so too, and then frees the data, whether or not a node had it.
    void RemoveNode(void* data);

    // Does not find the place of data, and returns -1 whether or not a node holds it. Two cases differ: for null that no
    // node holds the result is the number of nodes less one (2 for 3 nodes), and for a node that holds its own address its
    // place less one (-1 for the head, 0 for the next).
    short ReturnNodeNumber(const void* data) const;

private:
    friend class TIterator;

    TListNode* fHead;   // null: empty
};

// A doubly linked list.
class TDoubleLinkList
{
public:
    constexpr TDoubleLinkList() : fHead(nullptr), fTail(nullptr) {}

    // Destroys the nodes; their data stays.
    ~TDoubleLinkList();

    TDoubleLinkList(const TDoubleLinkList&) = delete;
    TDoubleLinkList& operator=(const TDoubleLinkList&) = delete;

    // Makes the node the head, whatever its links were; ignores null. The node is the list's from here on.
    void Prepend(TDoubleListNode* node);

    // Makes the node the tail, whatever its links were; ignores null. The node is the list's from here on.
    void Append(TDoubleListNode* node);

    // Takes the node out of the list and, unlike TLinkList, does not destroy it: it is the caller's then, with the
    // links that it had. Does nothing to a node that is not in this list.
    void UnlinkNode(TDoubleListNode* node);

    // Returns a node counted from the rear, and one off: the tail for n = 2, the node before it for 3, and so on; null
    // for 0, 1, negative n and n above the number of nodes. The head is so never returned. The node stays the list's.
    TListNode* ReturnNthNodeFromRear(short n) const;

    // Returns the data of the node that ReturnNthNodeFromRear finds for n, or null when there is none. It stays its owner's.
    void* ReturnNthFromRear(short n) const;

private:
    friend class TDoubleIterator;

    bool Contains(const TDoubleListNode* node) const;

    TDoubleListNode* fHead;   // null: empty
    TDoubleListNode* fTail;
};

// Goes through a TLinkList from head to tail. The current node must stay in the list while it is current.
class TIterator
{
public:
    // Stands on the first node.
    // list  not null; outlives the iterator
    explicit TIterator(TLinkList* list);

    // Goes back to the first node.
    void Reset();

    // Goes to the next node and returns it; null at the end, where the iterator remains. The node
    // stays the list's.
    TListNode* NextNode();

    // Returns the data of the current node, or null when there is none. It stays its owner's.
    void* ReturnNodeData() const;

    // Goes to the next node and returns its data, or null at the end. It stays its owner's.
    void* ReturnNextNodeData();

    TListNode* CurrentNode() const { return fCurrent; }

    // Returns 1 on the first node, one more on each further one, and 0 when there is no current node.
    short Position() const { return fPosition; }

private:
    TListNode* fCurrent;
    TLinkList* fList;
    short fPosition;
};

// Goes through a TDoubleLinkList in either direction. The current node must stay in the list while it is current.
class TDoubleIterator
{
public:
    // Stands on the head, or on the tail when it is to go backwards.
    // list     not null; outlives the iterator
    // forward  not 0: from head to tail; 0: from tail to head
    TDoubleIterator(TDoubleLinkList* list, unsigned char forward);

    // Goes back to where the constructor put it.
    void Reset();

    // Goes to the next node in the iterator's direction and returns it; null at the end, where the iterator remains. The
    // node stays the list's.
    TListNode* NextNode();

    // Returns the data of the current node, or null when there is none. It stays its owner's.
    void* ReturnNodeData() const;

    // Goes to the next node and returns its data, or null at the end. It stays its owner's.
    void* ReturnNextNodeData();

    TDoubleListNode* CurrentNode() const { return fCurrent; }

    // Returns 1 on the node where the iterator starts (the tail when it goes backwards), one more on each further one,
    // and 0 when there is no current node.
    short Position() const { return fPosition; }

private:
    TDoubleListNode* fCurrent;
    TDoubleLinkList* fList;
    short fPosition;
    UInt8 fForward;
};

#endif
