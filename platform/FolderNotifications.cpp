// Notifications of folders that changed, which a machine's people read in its log.

#include "platform/FileReferences.h"
#include "platform/MachineFolder.h"

using namespace platform;

OSStatus FNNotify(const FSRef* folder, FNMessage message, OptionBits flags)
{
    if (message != kFNDirectoryModifiedMessage)
        return paramErr;
    TItem item;
    const OSErr error = Find(folder, &item);
    if (error != noErr)
        return error;
    if (!item.isFolder)
        return errFSNotAFolder;
    AppendLogLine("notifications", "modified " + std::to_string(flags) + " " + item.path);
    return noErr;
}
