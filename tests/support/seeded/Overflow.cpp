// Adds one to the largest number.

#include <limits>

int main()
{
    volatile int number = std::numeric_limits<int>::max();
    number = number + 1;
    return 0;
}
