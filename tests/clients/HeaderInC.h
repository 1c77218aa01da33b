/* The record's layout as each language's compiler sees it; every function is compiled as what it is named for. */

#ifndef HALVORIX_TESTS_CLIENTS_HEADERINC_H
#define HALVORIX_TESTS_CLIENTS_HEADERINC_H

#include <stddef.h>

typedef struct THeaderLayout
{
    size_t size, queueEmpty, head, headSize, type, body, bodySize, name, nameSize;
    const char* socket;
} THeaderLayout;

#ifdef __cplusplus
extern "C" {
#endif

THeaderLayout LayoutInC89(void);
THeaderLayout LayoutInC99(void);
THeaderLayout LayoutInC11(void);
THeaderLayout LayoutInCPlusPlus98(void);
THeaderLayout LayoutInCPlusPlus17(void);

#ifdef __cplusplus
}
#endif

#endif
