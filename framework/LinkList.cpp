#include "framework/LinkList.h"

#include <new>

TListNode::~TListNode() {}

void TListNode::DeleteData()
{
    ::operator delete(fData);
}

// Destroys this node and all behind it.
static void DestroyNodes(TListNode* node)
{
    while (node != nullptr) {
        TListNode* const next = node->fNext;
        delete node;
        node = next;
    }
}

// The position of an iterator that came to this node from the given position.
static short PositionOn(const TListNode* node, short previous)
{
    return node != nullptr ? static_cast<short>(previous + 1) : short(0);
}

TLinkList::~TLinkList()
{
    DestroyNodes(fHead);
}

void TLinkList::DeleteListData()
{
    while (fHead != nullptr) {
        TListNode* const node = fHead;
        fHead = node->fNext;
        node->DeleteData();
        delete node;
    }
}

short TLinkList::Count() const
{
    short count = 0;
    for (const TListNode* node = fHead; node != nullptr; node = node->fNext)
        ++count;
    return count;
}

void TLinkList::Prepend(TListNode* node)
{
    if (node == nullptr)
        return;
    node->fNext = fHead;
    fHead = node;
}

void TLinkList::Append(TListNode* node)
{
    if (node == nullptr)
        return;
    TListNode** link = &fHead;
    while (*link != nullptr)
        link = &(*link)->fNext;
    *link = node;
}

TListNode* TLinkList::ReturnNthNode(short n) const
{
    if (n < 0)
        return nullptr;
    TListNode* node = fHead;
    while (node != nullptr && n-- > 0)
        node = node->fNext;
    return node;
}

void* TLinkList::ReturnNth(short n) const
{
    const TListNode* const node = ReturnNthNode(n);
    return node != nullptr ? node->fData : nullptr;
}

void TLinkList::UnlinkNode(TListNode* node)
{
    if (node == nullptr)
        return;
    TListNode** link = &fHead;
    while (*link != nullptr && *link != node)
        link = &(*link)->fNext;
    if (*link == nullptr)
        return;
    *link = node->fNext;
    delete node;
}

void TLinkList::Unlink(void* data)
{
    TListNode* node = fHead;
    while (node != nullptr && node->fData != data)
        node = node->fNext;
    UnlinkNode(node);
}

void TLinkList::RemoveNode(void* data)
{
    Unlink(data);
    ::operator delete(data);
}

short TLinkList::ReturnNodeNumber(const void* data) const
{
    short number = -1;
    const TListNode* node = fHead;
    while (node != nullptr && node->fData != data) {
        node = node->fNext;
        ++number;
    }
    // Compared with the node, not with its data: see the header.
    return data == node ? number : static_cast<short>(-1);
}

TDoubleLinkList::~TDoubleLinkList()
{
    DestroyNodes(fHead);
}

void TDoubleLinkList::Prepend(TDoubleListNode* node)
{
    if (node == nullptr)
        return;
    node->fNext = fHead;
    node->fPrevious = nullptr;
    if (fHead != nullptr) {
        fHead->fPrevious = node;
    } else {
        fTail = node;
    }
    fHead = node;
}

void TDoubleLinkList::Append(TDoubleListNode* node)
{
    if (node == nullptr)
        return;
    node->fNext = nullptr;
    node->fPrevious = fTail;
    if (fTail != nullptr) {
        fTail->fNext = node;
    } else {
        fHead = node;
    }
    fTail = node;
}

bool TDoubleLinkList::Contains(const TDoubleListNode* node) const
{
    const TListNode* candidate = fHead;
    while (candidate != nullptr && candidate != node)
        candidate = candidate->fNext;
    return candidate != nullptr;
}

void TDoubleLinkList::UnlinkNode(TDoubleListNode* node)
{
    if (!Contains(node))
        return;
    TDoubleListNode* const next = static_cast<TDoubleListNode*>(node->fNext);
    if (node->fPrevious != nullptr) {
        node->fPrevious->fNext = next;
    } else {
        fHead = next;
    }
    if (next != nullptr) {
        next->fPrevious = node->fPrevious;
    } else {
        fTail = node->fPrevious;
    }
}

TListNode* TDoubleLinkList::ReturnNthNodeFromRear(short n) const
{
    // The first step takes what follows the tail, which is nothing: that is where the offset of one comes from.
    const short target = static_cast<short>(-n);
    TListNode* answer = nullptr;
    const TDoubleListNode* cursor = fTail;
    for (short counter = 0; counter != target;) {
        --counter;
        if (cursor == nullptr)
            return nullptr;
        answer = cursor->fNext;
        cursor = cursor->fPrevious;
    }
    return answer;
}

void* TDoubleLinkList::ReturnNthFromRear(short n) const
{
    const TListNode* const node = ReturnNthNodeFromRear(n);
    return node != nullptr ? node->fData : nullptr;
}

TIterator::TIterator(TLinkList* list) : fCurrent(nullptr), fList(list), fPosition(0)
{
    Reset();
}

void TIterator::Reset()
{
    fCurrent = fList->fHead;
    fPosition = PositionOn(fCurrent, 0);
}

TListNode* TIterator::NextNode()
{
    if (fCurrent != nullptr)
        fCurrent = fCurrent->fNext;
    fPosition = PositionOn(fCurrent, fPosition);
    return fCurrent;
}

void* TIterator::ReturnNodeData() const
{
    return fCurrent != nullptr ? fCurrent->fData : nullptr;
}

void* TIterator::ReturnNextNodeData()
{
    NextNode();
    return ReturnNodeData();
}

TDoubleIterator::TDoubleIterator(TDoubleLinkList* list, unsigned char forward)
    : fCurrent(nullptr), fList(list), fPosition(0), fForward(forward)
{
    Reset();
}

void TDoubleIterator::Reset()
{
    fCurrent = fForward != 0 ? fList->fHead : fList->fTail;
    fPosition = PositionOn(fCurrent, 0);
}

TListNode* TDoubleIterator::NextNode()
{
    if (fCurrent != nullptr)
        fCurrent = fForward != 0 ? static_cast<TDoubleListNode*>(fCurrent->fNext) : fCurrent->fPrevious;
    fPosition = PositionOn(fCurrent, fPosition);
    return fCurrent;
}

void* TDoubleIterator::ReturnNodeData() const
{
    return fCurrent != nullptr ? fCurrent->fData : nullptr;
}

void* TDoubleIterator::ReturnNextNodeData()
{
    NextNode();
    return ReturnNodeData();
}
