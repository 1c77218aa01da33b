#include "bench/relay/Contender.h"

void TContender::PostAll(const std::vector<TRecord>& records)
{
    for (const TRecord& record : records)
        Post(record);
}
