# What every target is compiled with.

# Warnings are errors, in everything that is ours.
add_library(halvorix_warnings INTERFACE)
target_compile_options(halvorix_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    # A PowerPC Mac's plain char is signed, a PowerPC Linux's is not.
    -fsigned-char)
target_include_directories(halvorix_warnings INTERFACE ${PROJECT_SOURCE_DIR})

# The product: nothing throws, and what it calls of Apple's comes from the system or from its stand-ins.
add_library(halvorix_product INTERFACE)
target_compile_options(halvorix_product INTERFACE -fno-exceptions)
target_link_libraries(halvorix_product INTERFACE halvorix_warnings Threads::Threads)
if(APPLE)
    target_link_libraries(halvorix_product INTERFACE
        "-framework ApplicationServices" "-framework CoreFoundation" "-framework CoreServices"
        "-framework DiskArbitration" "-framework IOKit")
    # A daemon that starts with the system must not hang on the compiler's folder.
    target_link_libraries(halvorix_product INTERFACE -static-libgcc -static-libstdc++)
else()
    target_link_libraries(halvorix_product INTERFACE platform)
endif()

# The tests start thousands of short processes: what is not optimised at all costs them more than it saves the compiler. An
# emulator translates what it runs each time anew: the less there is, the sooner a test begins.
if(CMAKE_CROSSCOMPILING)
    set(CMAKE_CXX_FLAGS_DEBUG "-Os -g1")
else()
    set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")
endif()

# Everything that is linked into one test program must be built alike.
set(HALVORIX_SANITIZE "" CACHE STRING "sanitizers for everything, as in -fsanitize=")
if(HALVORIX_SANITIZE)
    # At fixed addresses: the tests hold more than a million, each of which a loader would relocate at each start.
    add_compile_options(-fsanitize=${HALVORIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -fno-pie)
    add_link_options(-fsanitize=${HALVORIX_SANITIZE} -no-pie)
endif()

# What stands in for a Mac, or looks at the product: its pointers and references are looked at by AddressSanitizer. Looking at
# each of them before it is used as well would take the compiler and the tests another third of their time.
set(HALVORIX_EQUIPMENT_OPTIONS -fno-sanitize=null,alignment,object-size,vptr)

# Compiling ten sources as one takes half as long as one by one, but all ten whenever one changed: switch it off (in
# build/native, say) while you work on one of them. The product's own are always compiled one by one.
option(HALVORIX_IN_BATCHES "compile many sources of the stand-ins, the lab, clients and tests at once" OFF)
set(CMAKE_UNITY_BUILD_BATCH_SIZE 10)

# Programs that make up inputs (tests/fuzz/run); clang's. What they are linked of must tell which way an input went.
option(HALVORIX_FUZZ "build the programs of tests/fuzz" OFF)
if(HALVORIX_FUZZ)
    # Without the check of virtual tables: it asks the system whether memory can be read, by a pipe, and the system of some
    # of these programs is one whose answers are made up.
    add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize=vptr)
endif()

# For the programs that tell their version: it stands in project() and nowhere else.
add_library(halvorix_version INTERFACE)
target_compile_definitions(halvorix_version INTERFACE HALVORIX_VERSION="${PROJECT_VERSION}")
