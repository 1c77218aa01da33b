#include "tests/clients/HeaderLayout.inc"
