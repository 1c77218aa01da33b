// Loses its only pointers to some memory.

#include <cstddef>

__attribute__((noinline)) static void Lose()
{
    for (std::size_t size = 100; size < 200; ++size) {
        auto* const volatile block = new char[size];
        block[0] = 1;
    }
}

int main()
{
    Lose();
    return 0;
}
