// Shared pieces of the complex GEMM tests: the common test header, complex
// element type, and a forced kernel row for the life of a scope.
#pragma once
#include <gtest/gtest.h>

#include <zor/core.h>

#include <complex>
#include <cstring>
#include <limits>
#include <random>
#include "common/testing.hpp"

namespace zor::test {

template <class R>
using Cx = std::complex<R>;

struct ForceRow {
  explicit ForceRow(int row) { zor_core_force(ZOR_CORE_CPUHASQLX, row); }
  ~ForceRow() { zor_core_unforce(ZOR_CORE_CPUHASQLX); }
  ForceRow(const ForceRow &) = delete;
  ForceRow &operator=(const ForceRow &) = delete;
};

}  // namespace zor::test
