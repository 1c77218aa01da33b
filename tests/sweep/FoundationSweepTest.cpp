// Every call that the functions of foundation/ make, failing once.

#include "foundation/Buffers.h"
#include "foundation/CFTypes.h"
#include "foundation/HFSNames.h"
#include "foundation/ScopedCFType.h"
#include "foundation/TArray.h"
#include "tests/sweep/Operation.h"

#include <cstring>
#include <new>

using SweptFoundation = TMachineTest;

TEST_F(SweptFoundation, ABufferThatCannotGrowStaysAsItIs)
{
    for (const bool keep : {false, true}) {
        TOperation(keep ? "AdjustBufferSize, kept" : "AdjustBufferSize",
                   [keep] {
                       UInt32 size = 4;
                       void* buffer = ::operator new(size);
                       memcpy(buffer, "abc", 4);
                       const bool result = AdjustBufferSize(&buffer, &size, 8, keep);
                       const std::string text = Text(result) + " " + Text(size) + " " + static_cast<char*>(buffer);
                       ::operator delete(buffer);
                       return text;
                   })
            .Gives(keep ? "1 8 abc" : "1 8 ")
            .GivesOnFailure("0 4 abc")
            .Sweep();
    }
}

// The records of an array, which are single characters.
static std::string Records(const TArray& array)
{
    std::string text;
    for (UInt32 i = 0; i < array.Count(); ++i)
        text += *static_cast<char*>(array.ElementAtIndex(i));
    return text;
}

TEST_F(SweptFoundation, AnArrayThatCannotChangeStaysAsItIs)
{
    TOperation("TArray::AddElement",
               [] {
                   TArray array(1);
                   const bool first = array.AddElement("a");
                   const bool second = array.AddElement("b");
                   return Text(first) + Text(second) + " " + Records(array);
               })
        .Gives("11 ab")
        .GivesOnFailureOf("operator new[] nothrow", "01 b", kByCaller, 1)
        .GivesOnFailureOf("operator new[] nothrow", "10 a", kByCaller, 2)
        .Sweep();
    TOperation("TArray::AddElementAtIndex",
               [] {
                   TArray array(1);
                   const bool first = array.AddElementAtIndex("a", 0);
                   const bool second = array.AddElementAtIndex("b", 0);
                   return Text(first) + Text(second) + " " + Records(array);
               })
        .Gives("11 ba")
        .GivesOnFailureOf("operator new[] nothrow", "01 b", kByCaller, 1)
        .GivesOnFailureOf("operator new[] nothrow", "10 a", kByCaller, 2)
        .Sweep();
    TOperation("TArray::DeleteElementAtIndex",
               [] {
                   TArray array(1);
                   array.AddElement("a");
                   array.AddElement("b");
                   array.DeleteElementAtIndex(0);
                   return Records(array);
               })
        .Gives("b")
        .GivesOnFailureOf("operator new[] nothrow", "", kByCaller, 1)   // "b" alone was added, and is gone
        .GivesOnFailureOf("operator new[] nothrow", "", kByCaller, 2)   // "a" alone likewise
        .GivesOnFailureOf("operator new[] nothrow", "ab", kByCaller, 3)
        .Sweep();
}

TEST_F(SweptFoundation, APropertyListThatCannotBeMadeIsNone)
{
    static const char kList[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><true/></plist>\n";
    TOperation("CreatePropertyListFromBytes",
               [] {
                   const TScopedCFType list(
                       CreatePropertyListFromBytes(reinterpret_cast<const UInt8*>(kList), sizeof kList - 1));
                   return list ? "list" : "null";
               })
        .Gives("list")
        .GivesOnFailure("null")
        .DespiteFailureOf({"CFPropertyListIsValid"})
        .Sweep();
}

TEST_F(SweptFoundation, AnObjectThatCannotBeReadIsNot)
{
    TOperation("CompareCFTypeRefToString", [] { return Text(CompareCFTypeRefToString(CFSTR("abc"), "abc", false)); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
    TOperation("ExtractASCII",
               [] {
                   char text[8];
                   return std::string(ExtractASCII(CFSTR("abc"), text, sizeof text) ? text : "false");
               })
        .Gives("abc")
        .GivesOnFailure("false")
        .Sweep();

    const SInt32 four = 4;
    const TScopedCFType number(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &four));
    TOperation("ExtractSInt32",
               [&] {
                   SInt32 value = 77;
                   const bool result = ExtractSInt32(number.Get(), &value);
                   return Text(result) + " " + Text(value);
               })
        .Gives("1 4")
        .GivesOnFailure("0 77")
        .Sweep();
    TOperation("ExtractSInt64",
               [&] {
                   SInt64 value = 77;
                   const bool result = ExtractSInt64(number.Get(), &value);
                   return Text(result) + " " + Text(value);
               })
        .Gives("1 4")
        .GivesOnFailure("0 77")
        .Sweep();
}

TEST_F(SweptFoundation, ANameThatCannotBeConvertedIsAllZeros)
{
    TOperation("ConvertCStringToHFSUniStr",
               [] {
                   HFSUniStr255 name;
                   memset(&name, 77, sizeof name);
                   const bool result = ConvertCStringToHFSUniStr("a", &name);
                   return Text(result) + " " + Text(int{name.length}) + " " + Text(int{name.unicode[0]});
               })
        .Gives("1 1 97")
        .GivesOnFailure("0 0 0")
        .Sweep();
}
