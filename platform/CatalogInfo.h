// What the catalog knows of a file or folder, for the functions that ask about one and about many.

#ifndef HALVORIX_PLATFORM_CATALOGINFO_H
#define HALVORIX_PLATFORM_CATALOGINFO_H

#include "platform/FileReferences.h"

namespace platform {

// Returns errFSBadInfoBitmap when a field is none that can be asked for; ends the process when it is one that is not
// stood in for.
OSErr CheckGettable(const char* function, FSCatalogInfoBitmap whichInfo);

// Fills the fields that are asked for and no other. Both outputs may be null.
void Describe(const TItem& item, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info, HFSUniStr255* name);

}   // namespace platform

#endif
