#!/usr/bin/env bash
# Each function's header says what its arguments are, what it returns, how it fails and whose things are, by the rules of
# tests/host/support/header-comments.py; which misses none of the omissions seeded below, and sees nothing where nothing is.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cat >"$scratch/seeded.h" <<'END'
// A header's first comment is no function's: it names bytes and returns nothing.

#define TWICE(x) ((x) * 2)
extern "C" {

void WithoutComment(void);

// Has an argument of which nothing is said.
void NamesNoArgument(const char* path);

// text  stands here, and its capacity only beside it
void NamesOneOfTwo(const char* text,
                   unsigned int capacity = 1);

// room  an array, which is named
void TakesAnArray(char (&room)[34], const char* const* words);

// Whether it returns a number, nobody knows.
int TellsNoResult(int number);

// Returns a number.
int TellsNoValue(void);

// true or false is said, but of something else, before it
//
// returns  what it thinks of that
bool TellsNoTruth(void);

// Returns a list that the caller releases.
CFArrayRef CreateNeverNull(void);

// entry    stays the caller's
// returns  another entry, or 0
io_object_t TellsNoOwner(io_object_t entry);

// entry    where to look; stays the caller's. It may be 0
// returns  its parent, which the caller releases
io_object_t TellsNoZero(io_object_t entry);

// entry    where to look
// name     receives the name, or null
// returns  true, or false when there is none
bool TellsNoOwnerOfArguments(io_object_t entry, CFStringRef* name);

// One comment for two; returns 0.
int FirstOfGroup(void);
int SecondOfGroup(void);

int BehindAnEmptyLine(void);

// Gives back what it was given; and returns it, or null. It stays the caller's.
char* Good(const char* it, ...);
}

class TSeeded : public TBase
{
public:
    TSeeded();
    explicit TSeeded(int number) : fNumber(number) {}
    ~TSeeded() override;
    TSeeded(const TSeeded&) = delete;
    TSeeded& operator=(const TSeeded&) = delete;
    explicit operator bool() const { return fNumber != 0; }
    int Number() const { return fNumber; }
    void Overridden(int) override;

    int LongerThanALine() const
    {
        return fNumber;
    }

    static constexpr int kNumber = TWICE(4);

protected:
    // Returns nothing that anybody could use; null.
    virtual void* Protected() = 0;

private:
    int Private(int number);
    int fNumber;   // returns 0
};
static_assert(sizeof(TSeeded) == 16, "");

// address  stands here
template <class TAddress>
auto SetLength(TAddress* address, int size) -> decltype(address->length, void())
{
    address->length = static_cast<int>(sizeof address) + size;
}
END

cat >"$scratch/expected" <<'END'
6: WithoutComment: there is no comment
9: NamesNoArgument: the argument path is not named
12: NamesOneOfTwo: the argument capacity is not named
16: TakesAnArray: the argument words is not named
19: TellsNoResult: the result is not told
22: TellsNoValue: no value of the result is told, nor what it counts
27: TellsNoTruth: it is not told when the result is true
30: CreateNeverNull: it is not told when the result is null, or that it never is
34: TellsNoOwner: it is not told whose the result is
38: TellsNoZero: it is not told when the result is 0
43: TellsNoOwnerOfArguments: it is not told whose entry is
43: TellsNoOwnerOfArguments: it is not told whose name is
46: FirstOfGroup: the result is not told
47: SecondOfGroup: the result is not told
49: BehindAnEmptyLine: there is no comment
58: TSeeded: there is no comment
59: TSeeded: there is no comment
67: LongerThanALine: there is no comment
76: Protected: it is not told whose the result is
85: SetLength: the argument size is not named
END

if python3 tests/host/support/header-comments.py "$scratch/seeded.h" >"$scratch/said"; then
    echo "the seeded omissions pass"
    exit 1
fi
sed -n "s|^$scratch/seeded.h:||p" "$scratch/said" | diff "$scratch/expected" - || {
    echo "of the seeded omissions, these are missed (<) or made up (>)"
    exit 1
}

headers=({foundation,framework,services,daemon}/*.h clients/halvorixevent.h)
python3 tests/host/support/header-comments.py "${headers[@]}" | tee "$scratch/said"
# There were more when this was written: where functions are no longer found, nothing is asked of them.
functions=$(sed -nE '$s/^([0-9]+) functions.*/\1/p' "$scratch/said")
[ "$functions" -ge 200 ] || { echo "only $functions functions were found"; exit 1; }
