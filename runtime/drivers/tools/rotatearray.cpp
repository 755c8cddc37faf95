// The element types whose rotation the library itself carries.
#include "drivers/tools/rotatearray.h"

template void RotateArray<char>(char* a, int m, int k);
template void RotateArray<unsigned char>(unsigned char* a, int m, int k);
