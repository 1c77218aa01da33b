// What a capture of a real Mac holds once it is read, whatever form it came in, and how a part that is damaged is told of.

#ifndef HALVORIX_LAB_IMPORT_CAPTURE_H
#define HALVORIX_LAB_IMPORT_CAPTURE_H

#include "platform/PropertyList.h"

#include <map>
#include <string>
#include <vector>

namespace import {

// Thrown by those who read a capture, caught where the file's name is known.
struct TDamage
{
    std::size_t line;   // from 1 on; 0 when what is wrong stands in no single line
    std::string text;   // what is wrong, in the reader's words
};

// The planes of an I/O Registry, in the shape that machine folders keep them. An entry has an IORegistryEntryID when the
// capture gives one.
struct TCapture
{
    plist::TValue services;     // the IOService plane; no entries when the capture does not hold it
    plist::TValue deviceTree;   // the IODeviceTree plane; likewise
    std::map<std::string, std::string> superclasses;   // of those classes whose inheritance the capture tells
    std::vector<std::string> plainClasses;             // those whose entries are no services
    std::size_t unreadable = 0;   // values that the capture shows as nothing, or that its publisher made unreadable
};

// Reads what `ioreg -l` prints, or the archive of `ioreg -a -l`. Throws TDamage.
TCapture ReadCapture(const std::string& text);

// The same for one of the forms. ReadCapture finds out which it is.
TCapture ReadRegistryText(const std::string& text);
TCapture ReadRegistryArchive(const std::string& text);

// Puts a tree where it belongs, by the name that the computer's own entry has in each plane. A tree of another plane, and a
// second one of the same, are left out.
void AddPlane(plist::TValue root, TCapture* capture);

}   // namespace import

#endif
