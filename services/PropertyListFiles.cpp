#include "services/PropertyListFiles.h"

#include "foundation/ScopedCFType.h"
#include "services/FileURLs.h"   // CreateURLWithPathname

CFPropertyListRef CreatePropertyListFromXMLData(CFDataRef xml, CFOptionFlags options)
{
    if (xml == nullptr)
        return nullptr;
    CFStringRef errorText = nullptr;
    TScopedCFType list(CFPropertyListCreateFromXMLData(kCFAllocatorDefault, xml, options, &errorText));
    const TScopedCFType complaint(errorText);
    return complaint ? nullptr : list.Release();
}

CFPropertyListRef CreateCFDictionaryWithContentsOfFile(const char* pathname)
{
    const TScopedCFType url(CreateURLWithPathname(pathname, false));
    if (!url)
        return nullptr;
    CFDataRef bytes = nullptr;
    SInt32 error = 0;
    if (!CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, url.Get(), &bytes, nullptr, nullptr, &error))
        return nullptr;
    const TScopedCFType xml(bytes);
    return CreatePropertyListFromXMLData(xml.Get(), kCFPropertyListMutableContainersAndLeaves);
}

UInt32 SetContentsOfFileToCFDictionary(const char* pathname, CFPropertyListRef plist)
{
    const TScopedCFType url(CreateURLWithPathname(pathname, false));
    if (!url)
        return 0;
    SInt32 error = 0;
    CFURLDestroyResource(url.Get(), &error);
    const TScopedCFType xml(CFPropertyListCreateXMLData(kCFAllocatorDefault, plist));
    if (!xml)
        return 0;
    return CFURLWriteDataAndPropertiesToResource(url.Get(), xml.Get(), nullptr, &error) != 0;
}
