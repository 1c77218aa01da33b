// Calls virtual operations by their place in the class's table, which is part of what a subclass is compiled against.

#ifndef HALVORIX_TESTS_FRAMEWORK_VIRTUALSLOTS_H
#define HALVORIX_TESTS_FRAMEWORK_VIRTUALSLOTS_H

#include <cstring>

// Returns the operation in this slot, counted from 0, of an object whose first member is the pointer to its table.
// TFunction  as a plain function: what it returns, the object's address, its arguments; references are addresses
template <class TFunction>
TFunction* VirtualSlot(const void* object, std::size_t slot)
{
    const char* table = nullptr;
    memcpy(&table, object, sizeof table);
    TFunction* operation = nullptr;
    memcpy(&operation, table + slot * sizeof operation, sizeof operation);
    return operation;
}

#endif
