#include "foundation/PosixDifferences.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

// The socket address of a Mac.
struct TDarwinAddress
{
    unsigned char sun_len;
    unsigned char sun_family;
    char sun_path[104];
};

TEST(PosixDifferences, AnAddressWithALengthGetsItsWholeSize)
{
    TDarwinAddress address = {};
    SetAddressLength(&address, 0);

    EXPECT_EQ(106, address.sun_len);
}

TEST(PosixDifferences, AnAddressWithoutALengthIsLeftAlone)
{
    struct TOther
    {
        int sun_family;
    } address = {77};
    SetAddressLength(&address, 0);

    EXPECT_EQ(77, address.sun_family);
}

TEST(PosixDifferences, ADescriptorIsKeptFromExecutedPrograms)
{
    const int descriptor = dup(STDERR_FILENO);
    EXPECT_EQ(0, fcntl(descriptor, F_GETFD));
    SetCloseOnExec(descriptor);

    EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor, F_GETFD));
    close(descriptor);
}
