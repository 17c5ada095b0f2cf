// The two functions that the routines ask of their surroundings. With these the library needs
// no run time of Fortran, which would set up its units and signals when the library is loaded.
//
// Nothing else is missing at the link; a routine that asked for more would say so there.

#include <algorithm>
#include <cstddef>
#include <cstring>

extern "C" {

// A wrong argument. LAPACK leaves it to the installation what happens then; its own prints
// and ends the process. This one returns: the routine has set its status and returns too.
void xerbla_(const char*, const int*, std::size_t) {}

// GNU Fortran's `a // b`: both texts in order, cut or filled with blanks to the target's
// length.
void _gfortran_concat_string(std::size_t inTargetLength, char* outTarget,
                             std::size_t inLeftLength, const char* inLeft,
                             std::size_t inRightLength, const char* inRight) {
    const std::size_t left = std::min(inLeftLength, inTargetLength);
    const std::size_t right = std::min(inRightLength, inTargetLength - left);
    std::memcpy(outTarget, inLeft, left);
    std::memcpy(outTarget + left, inRight, right);
    std::memset(outTarget + left + right, ' ', inTargetLength - left - right);
}
}
