// Argument checks of the provider's checked BLAS and LAPACK entries: the
// first bad argument is reported by routine name and position, as users of
// BLAS expect, and the entry returns without writing anything.
#pragma once
#include <cstdint>

namespace zor_core {

// Prints " ** On entry to NAME parameter number N had an illegal value".
void report_bad_argument(const char *routine, int position);

}  // namespace zor_core
