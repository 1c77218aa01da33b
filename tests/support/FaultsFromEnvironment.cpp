// Arms the table of faults from the environment, in a program that is not a test itself:
//
//     HALVORIX_FAULTS="FUNCTION FIRST COUNT RESULT ERRNO [FIRST_ARGUMENT]; ..."      for example "sigaction 1 1 -1 22"
//
// Blanks in a function's name are written as "_": operator_new_nothrow.

#include "tests/support/Faults.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

static void ArmFromText(std::string text)
{
    std::istringstream fields(text);
    std::string function;
    unsigned first = 0;
    unsigned count = 0;
    TFailure failure;
    if (!(fields >> function >> first >> count >> failure.result >> failure.error))
        abort();   // an order that cannot be read must not pass for a program that did not fail
    fields >> failure.firstArgument;
    if (function.rfind("operator_", 0) == 0)
        std::replace(function.begin(), function.end(), '_', ' ');
    ArmFault(function.c_str(), failure, first, count);
}

static bool ArmFromEnvironment()
{
    const char* const orders = getenv("HALVORIX_FAULTS");
    if (orders == nullptr)
        return false;
    std::istringstream all(orders);
    std::string one;
    while (std::getline(all, one, ';'))
        ArmFromText(one);
    return true;
}

// Before main; the program is linked so that the table's own entries are made first.
[[maybe_unused]] static const bool gArmed = ArmFromEnvironment();
