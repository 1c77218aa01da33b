// Two threads count in one place, without a lock.

#include <pthread.h>

static int gCount = 0;

static void* Count(void*)
{
    for (int i = 0; i < 1000; ++i)
        ++gCount;
    return nullptr;
}

int main()
{
    pthread_t threads[2];
    for (pthread_t& thread : threads)
        pthread_create(&thread, nullptr, Count, nullptr);
    for (const pthread_t thread : threads)
        pthread_join(thread, nullptr);
    return 0;
}
