// The machine folder's files, read and written by its rules: replaced by rename, grown by whole lines, changed under a lock.

#ifndef HALVORIX_LAB_FILES_H
#define HALVORIX_LAB_FILES_H

#include <string>
#include <vector>

namespace lab {

// Reads the whole file. Returns false, and leaves the text empty, when there is none or it cannot be read.
bool ReadFile(const std::string& path, std::string* text);

// The file's first line without its line feed; empty when there is none.
std::string ReadLine(const std::string& path);

// Writes a new file beside the old one and renames it. Returns an empty text, or one line that says what failed.
std::string ReplaceFile(const std::string& path, const std::string& text);

// Appends by one write, so that lines of several writers never mix. Returns as ReplaceFile does.
std::string AppendToFile(const std::string& path, const std::string& text);

// Makes the folder and those above it that are missing. Returns as ReplaceFile does.
std::string MakeFolder(const std::string& path);

// The names in a folder, in order, without those that begin with a dot; none when there is no such folder.
std::vector<std::string> NamesInFolder(const std::string& path);

// The text's lines without their line feeds; a last line without one counts.
std::vector<std::string> SplitLines(const std::string& text);

// The parts between separators; "a,,b" has three.
std::vector<std::string> Split(const std::string& text, char separator);

// The texts in a row for people: "disk0, disk1 and disk2"; "none" when there are none.
std::string InWords(const std::vector<std::string>& texts);

// The part of the path behind its last slash.
std::string BaseName(const std::string& path);

// "cannot WHAT PATH: REASON", with the reason from errno.
std::string SystemError(const std::string& what, const std::string& path);

// Backslash, tab, line feed and every byte outside printable ASCII as \xHH, the rest as it is.
std::string Escape(const std::string& text);
// The reverse. A backslash that begins no \xHH stands for itself.
std::string Unescape(const std::string& text);

// Two lower-case hexadecimal digits a byte.
std::string Hexadecimal(const std::string& bytes);
// The reverse; the text consists of pairs of hexadecimal digits.
std::string BytesFromHexadecimal(const std::string& digits);

// Seconds of the monotonic clock.
double MonotonicSeconds();

// Holds an exclusive flock on a file, which it makes when missing, from construction to destruction.
class TFileLock
{
public:
    explicit TFileLock(const std::string& path);
    ~TFileLock();
    TFileLock(const TFileLock&) = delete;
    TFileLock& operator=(const TFileLock&) = delete;

private:
    int fDescriptor;
};

}   // namespace lab

#endif
