// Nodes with names, and what happened to them.

#ifndef HALVORIX_TESTS_FRAMEWORK_NAMEDNODE_H
#define HALVORIX_TESTS_FRAMEWORK_NAMEDNODE_H

#include "framework/LinkList.h"

#include <cstring>
#include <string>
#include <vector>

// What happened to nodes, in order: "~A" node A destroyed, "dA" its data freed.
inline std::string gHappened;

// A node with a letter as its name; its data is `this` unless told otherwise.
template <class TNode>
struct TNamedNode : TNode
{
    explicit TNamedNode(char name) : fName(name) { this->fData = &fName; }
    ~TNamedNode() override { gHappened += std::string("~") + fName; }
    void DeleteData() override { gHappened += std::string("d") + fName; }

    char fName;
};

using TNamed = TNamedNode<TListNode>;
using TDoubleNamed = TNamedNode<TDoubleListNode>;

inline char NameOf(const TListNode* node)
{
    return node != nullptr ? *static_cast<const char*>(node->fData) : '-';
}

// The words of memory that an object consists of.
template <class TObject>
std::vector<const void*> WordsOf(const TObject& object)
{
    std::vector<const void*> words(sizeof object / sizeof(void*));
    memcpy(words.data(), static_cast<const void*>(&object), words.size() * sizeof(void*));
    return words;
}

#endif
