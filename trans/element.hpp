// What every copy and transposition routine shares: the view of a
// column-major call as a row-major one, and the one operation applied to an
// element on its way, op(x) alpha.
#pragma once
#include <cstdint>
#include <utility>
#include <zor/trans.h>

#include "frame/element.hpp"
#include "frame/letters.hpp"

namespace zor::trans {

using u64 = uint64_t;

// The routines are written for row-major data. A column-major call is the
// same call with rows and cols exchanged. False for any other letter.
inline bool row_major_view(char ordering, u64 &rows, u64 &cols) {
  switch (read_letter<Order>(ordering)) {
    case Order::R: return true;
    case Order::C: std::swap(rows, cols); return true;
    default: return false;
  }
}

// op(x) alpha: the product is taken as x times alpha, conjugation first.
template <class T, bool Conj>
inline typename T::elem scaled(typename T::elem x, typename T::elem alpha) {
  return conj_if<Conj>(x) * alpha;
}

}  // namespace zor::trans
