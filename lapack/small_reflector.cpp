// ?larfx: an elementary reflector H = I - tau v v^H applied to an m by n
// matrix C from the left (C := H C, side 'L' through zor_serv_lsame) or the
// right (C := C H, any other side), with loops of their own for small
// orders. tau = 0 returns at once, v unread.
//
// The order is m on the left, n on the right, read from its low 32 bits;
// the loops of their own cover the orders 1 to the table's largest case
// (d: 8 on the left, 10 on the right; c: 10 on both sides). In them
// V_k := conj(v_k), T_k := tau v_k on the left; V_k := v_k,
// T_k := tau conj(v_k) on the right (conj only for complex), and then for
// each column (left) or row (right) of C, elements c_1 .. c_N along v:
//   sum := ((V_1 c_1 + V_2 c_2) + V_3 c_3) + ...;  c_k := c_k - sum T_k.
// Order 1 is a scaling by 1 - (tau v_1) conj(v_1). The right side goes
// down the rows two at a time. These are the operations of the published
// routine in its order, so results agree with it bit for bit.
//
// Larger orders: work := C^H v (left, gemv "Transpose", complex
// "Conjugate transpose") or C v (right, gemv "No transpose"), then the
// rank-one update C := C - tau v work^H (left) or C - tau work v^H
// (right) by ?ger / ?gerc. work holds n (left) or m (right) elements.
#include <zor/lapack.h>
#include <zor/serv.h>

#include <array>
#include <cstdint>
#include <utility>

#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

// Largest order each side takes in its own loops.
struct ReflectorPlan {
  int left, right;
};
template <class T> constexpr ReflectorPlan kReflector{};
// clang-format off
//                                          left  right
template <> constexpr ReflectorPlan kReflector<D>{8,    10};
template <> constexpr ReflectorPlan kReflector<C>{10,   10};
// clang-format on
constexpr int kLargestCase = 10;

template <class T, bool Left>
typename T::elem scaling_factor(typename T::elem tau, typename T::elem v1) {
  using E = typename T::elem;
  return from_real<E>(real_t<E>(1)) - tau * v1 * conj_if<T::complex>(v1);
}

// Order N on the left: each of the n columns, its first N rows.
template <class T, int N>
void left_order(int64_t n, const typename T::elem *v, typename T::elem tau, typename T::elem *c, int64_t ldc) {
  using E = typename T::elem;
  if constexpr (N == 1) {
    const E t1 = scaling_factor<T, true>(tau, v[0]);
    for (int64_t j = 0; j < n; ++j) c[j * ldc] = t1 * c[j * ldc];
  } else {
    E vk[N], tk[N];
    for (int k = 0; k < N; ++k) vk[k] = conj_if<T::complex>(v[k]), tk[k] = tau * v[k];
    for (int64_t j = 0; j < n; ++j) {
      E *col = c + j * ldc;
      E sum = vk[0] * col[0];
      for (int k = 1; k < N; ++k) sum = sum + vk[k] * col[k];
      for (int k = 0; k < N; ++k) col[k] = col[k] - sum * tk[k];
    }
  }
}

// Order N on the right: each of the m rows, its first N columns, two rows
// a pass.
template <class T, int N>
void right_order(int64_t m, const typename T::elem *v, typename T::elem tau, typename T::elem *c, int64_t ldc) {
  using E = typename T::elem;
  if constexpr (N == 1) {
    const E t1 = scaling_factor<T, false>(tau, v[0]);
    int64_t i = 0;
    for (; i + 8 <= m; i += 8)
      for (int u = 0; u < 8; ++u) c[i + u] = t1 * c[i + u];
    for (; i < m; ++i) c[i] = t1 * c[i];
  } else {
    E vk[N], tk[N];
    for (int k = 0; k < N; ++k) vk[k] = v[k], tk[k] = tau * conj_if<T::complex>(v[k]);
    int64_t i = 0;
    for (; i + 2 <= m; i += 2) {
      E s0 = vk[0] * c[i], s1 = vk[0] * c[i + 1];
      for (int k = 1; k < N; ++k) s0 = s0 + vk[k] * c[i + k * ldc], s1 = s1 + vk[k] * c[i + 1 + k * ldc];
      for (int k = 0; k < N; ++k) {
        c[i + k * ldc] = c[i + k * ldc] - s0 * tk[k];
        c[i + 1 + k * ldc] = c[i + 1 + k * ldc] - s1 * tk[k];
      }
    }
    if (i < m) {
      E s0 = vk[0] * c[i];
      for (int k = 1; k < N; ++k) s0 = s0 + vk[k] * c[i + k * ldc];
      for (int k = 0; k < N; ++k) c[i + k * ldc] = c[i + k * ldc] - s0 * tk[k];
    }
  }
}

template <class T>
using OrderFn = void (*)(int64_t, const typename T::elem *, typename T::elem, typename T::elem *, int64_t);

// The loops of orders 1 .. kLargestCase, by order - 1.
template <class T, bool Left, size_t... I>
constexpr std::array<OrderFn<T>, sizeof...(I)> order_table(std::index_sequence<I...>) {
  if constexpr (Left) return {left_order<T, int(I) + 1>...};
  else return {right_order<T, int(I) + 1>...};
}
template <class T, bool Left>
constexpr auto kOrders = order_table<T, Left>(std::make_index_sequence<kLargestCase>{});

template <class T>
void larfx(const char *side, int64_t m, int64_t n, const typename T::elem *v, typename T::elem tau,
           typename T::elem *c, int64_t ldc, typename T::elem *work) {
  using E = typename T::elem;
  using R = real_t<E>;
  if (is_zero(tau)) return;
  const bool left = zor_serv_lsame(side, "L");
  const int32_t order = int32_t(uint32_t(uint64_t(left ? m : n)));
  const int largest = left ? kReflector<T>.left : kReflector<T>.right;
  if (order >= 1 && order <= largest) {
    if (left) kOrders<T, true>[order - 1](n, v, tau, c, ldc);
    else kOrders<T, false>[order - 1](m, v, tau, c, ldc);
    return;
  }
  const zor_int mm = m, nn = n, ld = ldc, one = 1;
  const E e_one = from_real<E>(R(1)), e_zero = from_real<E>(R(0));
  E minus_tau;
  if constexpr (T::complex) minus_tau = E{-tau.re, -tau.im};
  else minus_tau = -tau;
  if (left) {
    if constexpr (T::complex) imports<T>::gemv("Conjugate transpose", &mm, &nn, &e_one, c, &ld, v, &one, &e_zero, work, &one, 19);
    else imports<T>::gemv("Transpose", &mm, &nn, &e_one, c, &ld, v, &one, &e_zero, work, &one, 9);
    imports<T>::gerc(&mm, &nn, &minus_tau, v, &one, work, &one, c, &ld);
  } else {
    imports<T>::gemv("No transpose", &mm, &nn, &e_one, c, &ld, v, &one, &e_zero, work, &one, 12);
    imports<T>::gerc(&mm, &nn, &minus_tau, work, &one, v, &one, c, &ld);
  }
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using zor::C;
using zor::D;
// clang-format off
ZOR_API void zor_lapack_ps_dlarfx(const char *side, const zor_int *m, const zor_int *n, const double *v, const double *tau, double *c, const zor_int *ldc, double *work) { larfx<D>(side, *m, *n, v, *tau, c, *ldc, work); }
ZOR_API void zor_lapack_ps_clarfx(const char *side, const zor_int *m, const zor_int *n, const void *v, const void *tau, void *c, const zor_int *ldc, void *work) { larfx<C>(side, *m, *n, as_elems<C>(v), elem_at<C>(tau), as_elems<C>(c), *ldc, as_elems<C>(work)); }
// clang-format on
