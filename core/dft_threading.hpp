// The transforms' stand-ins for the threading layer, as the provider's
// lookup of thread functions lists them.
#pragma once
#include <zor/core.h>
#include <zor/dft_records.h>

namespace zor_core {

struct DftThreadFunction {
  const char *name;
  zor_thread_fun fn;
};
// Ended by a null name.
extern const DftThreadFunction kDftThreadFunctions[];

int64_t dft_bless_node(DftNode *node);

}  // namespace zor_core
