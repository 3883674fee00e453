// Straight-line transforms of a few points held in registers: the butterflies
// of the radix passes and the short kernels. Each works in place on an array
// of registers x[0..N) of CVec CV and leaves the N-point transform there, in
// natural order, forward (exponent -2 pi i jk/N) or backward.
//
//   radix 2, 4, 8, 16: split in halves (x_j +- x_{j+N/2}), the odd half
//                      turned by the N-th roots, recursively;
//   odd radix p:       pairs s_k = x_k + x_{p-k}, d_k = x_k - x_{p-k};
//                      y_j = x_0 + sum s_k cos(jk) -/+ i sum d_k sin(jk),
//                      y_{p-j} the same with the sign of the sine sum changed;
//   composite N1 N2:   N2-point transforms, the turn by the N-th roots, N1-point
//                      transforms (constant roots, straight-line).
#pragma once
#include <utility>

#include "dft/cvec.hpp"

namespace zor::dft {

// cos(2 pi m / 128), m = 0..32: every root of order dividing 128 comes from
// this quarter wave.
inline constexpr double kQuarterWave128[33] = {
    1, 0.99879545620517239, 0.99518472667219689, 0.98917650996478097,
    0.98078528040323045, 0.97003125319454399, 0.95694033573220886, 0.94154406518302078,
    0.92387953251128676, 0.90398929312344333, 0.88192126434835503, 0.85772861000027207,
    0.83146961230254524, 0.80320753148064491, 0.77301045336273696, 0.74095112535495909,
    0.70710678118654752, 0.6715589548470184, 0.6343932841636455, 0.59569930449243334,
    0.55557023301960222, 0.51410274419322173, 0.47139673682599765, 0.42755509343028209,
    0.38268343236508977, 0.33688985339222005, 0.29028467725446237, 0.24298017990326389,
    0.19509032201612827, 0.14673047445536175, 0.098017140329560602, 0.049067674327418014,
    0,
};

// cos and sin of 2 pi m / N for N dividing 128.
constexpr double root_cos(int m, int n) {
  int k = ((m % n + n) % n) * (128 / n);  // angle in 128ths of a turn
  if (k <= 32) return kQuarterWave128[k];
  if (k <= 64) return -kQuarterWave128[64 - k];
  if (k <= 96) return -kQuarterWave128[k - 64];
  return kQuarterWave128[128 - k];
}
constexpr double root_sin(int m, int n) { return root_cos(m * 1 - n / 4, n); }

// cos and sin of 2 pi m / P for the odd radices.
template <int P> struct OddRoots;
template <> struct OddRoots<3> {
  static constexpr double c[3] = {1, -0.5, -0.5};
  static constexpr double s[3] = {0, 0.86602540378443865, -0.86602540378443865};
};
template <> struct OddRoots<5> {
  static constexpr double c[5] = {1, 0.30901699437494742, -0.80901699437494742, -0.80901699437494742,
                                  0.30901699437494742};
  static constexpr double s[5] = {0, 0.95105651629515357, 0.58778525229247313, -0.58778525229247313,
                                  -0.95105651629515357};
};
template <> struct OddRoots<7> {
  static constexpr double c[7] = {1, 0.62348980185873353, -0.2225209339563144, -0.90096886790241913,
                                  -0.90096886790241913, -0.2225209339563144, 0.62348980185873353};
  static constexpr double s[7] = {0, 0.78183148246802981, 0.97492791218182361, 0.43388373911755812,
                                  -0.43388373911755812, -0.97492791218182361, -0.78183148246802981};
};
template <> struct OddRoots<9> {
  static constexpr double c[9] = {1, 0.76604444311897804, 0.17364817766693035, -0.5, -0.93969262078590838,
                                  -0.93969262078590838, -0.5, 0.17364817766693035, 0.76604444311897804};
  static constexpr double s[9] = {0, 0.64278760968653933, 0.98480775301220806, 0.86602540378443865,
                                  0.34202014332566873, -0.34202014332566873, -0.86602540378443865,
                                  -0.98480775301220806, -0.64278760968653933};
};
template <> struct OddRoots<11> {
  static constexpr double c[11] = {1, 0.84125353283118117, 0.41541501300188643, -0.14231483827328514,
                                   -0.65486073394528506, -0.95949297361449739, -0.95949297361449739,
                                   -0.65486073394528506, -0.14231483827328514, 0.41541501300188643,
                                   0.84125353283118117};
  static constexpr double s[11] = {0, 0.54064081745559758, 0.90963199535451837, 0.98982144188093273,
                                   0.75574957435425828, 0.2817325568414297, -0.2817325568414297,
                                   -0.75574957435425828, -0.98982144188093273, -0.90963199535451837,
                                   -0.54064081745559758};
};
template <> struct OddRoots<13> {
  static constexpr double c[13] = {1, 0.8854560256532099, 0.5680647467311558, 0.12053668025532305,
                                   -0.35460488704253563, -0.7485107481711011, -0.97094181742605203,
                                   -0.97094181742605203, -0.7485107481711011, -0.35460488704253563,
                                   0.12053668025532305, 0.5680647467311558, 0.8854560256532099};
  static constexpr double s[13] = {0, 0.46472317204376855, 0.82298386589365639, 0.99270887409805399,
                                   0.93501624268541482, 0.6631226582407952, 0.23931566428755777,
                                   -0.23931566428755777, -0.6631226582407952, -0.93501624268541482,
                                   -0.99270887409805399, -0.82298386589365639, -0.46472317204376855};
};
template <> struct OddRoots<15> {
  static constexpr double c[15] = {1, 0.9135454576426009, 0.66913060635885821, 0.30901699437494742,
                                   -0.10452846326765347, -0.5, -0.80901699437494742, -0.97814760073380564,
                                   -0.97814760073380564, -0.80901699437494742, -0.5, -0.10452846326765347,
                                   0.30901699437494742, 0.66913060635885821, 0.9135454576426009};
  static constexpr double s[15] = {0, 0.40673664307580021, 0.74314482547739424, 0.95105651629515357,
                                   0.99452189536827334, 0.86602540378443865, 0.58778525229247313,
                                   0.20791169081775934, -0.20791169081775934, -0.58778525229247313,
                                   -0.86602540378443865, -0.99452189536827334, -0.95105651629515357,
                                   -0.74314482547739424, -0.40673664307580021};
};

// ---------------------------------------------------------------- turns by constant roots

// x times the root exp(-/+ 2 pi i m / N), N dividing 128; the quarter and
// eighth turns take their short forms.
template <class CV, bool Fwd, int M, int N>
ZOR_DFT_INLINE typename CV::V turn(typename CV::V x) {
  constexpr int m = ((M % N) + N) % N;
  using R = typename CV::real;
  if constexpr (m == 0) {
    return x;
  } else if constexpr (4 * m == N) {
    return rot<CV, Fwd>(x);
  } else if constexpr (2 * m == N) {
    return simd::conj(simd::xor_(x, CV::mask_re()));  // both signs flipped
  } else if constexpr (4 * m == 3 * N) {
    return rot<CV, !Fwd>(x);
  } else if constexpr (8 * m == N) {
    return simd::mul(add<CV>(x, rot<CV, Fwd>(x)), CV::splat(R(0.70710678118654752)));
  } else if constexpr (8 * m == 3 * N) {
    return simd::mul(sub<CV>(rot<CV, Fwd>(x), x), CV::splat(R(0.70710678118654752)));
  } else {
    return times_root<CV, Fwd>(x, R(root_cos(m, N)), R(root_sin(m, N)));
  }
}

// ---------------------------------------------------------------- radix 2, 4, 8, 16

template <class CV, bool Fwd>
ZOR_DFT_INLINE void bf2(typename CV::V *x) {
  auto a = x[0];
  x[0] = add<CV>(a, x[1]);
  x[1] = sub<CV>(a, x[1]);
}

template <class CV, bool Fwd>
ZOR_DFT_INLINE void bf4(typename CV::V *x) {
  auto t0 = add<CV>(x[0], x[2]), t1 = sub<CV>(x[0], x[2]);
  auto t2 = add<CV>(x[1], x[3]), t3 = rot<CV, Fwd>(sub<CV>(x[1], x[3]));
  x[0] = add<CV>(t0, t2);
  x[2] = sub<CV>(t0, t2);
  x[1] = add<CV>(t1, t3);
  x[3] = sub<CV>(t1, t3);
}

// N = 8, 16, 32: halves, the odd half turned by w_N^j, two N/2-point
// transforms; evens to even outputs, odds to odd outputs.
template <class CV, bool Fwd, int N>
ZOR_DFT_INLINE void bf_split(typename CV::V *x) {
  using V = typename CV::V;
  constexpr int H = N / 2;
  V a[H], b[H];
  [&]<int... J>(std::integer_sequence<int, J...>) __attribute__((always_inline)) {
    ((a[J] = add<CV>(x[J], x[J + H]), b[J] = turn<CV, Fwd, J, N>(sub<CV>(x[J], x[J + H]))), ...);
  }(std::make_integer_sequence<int, H>{});
  if constexpr (H == 4) {
    bf4<CV, Fwd>(a);
    bf4<CV, Fwd>(b);
  } else {
    bf_split<CV, Fwd, H>(a);
    bf_split<CV, Fwd, H>(b);
  }
  for (int j = 0; j < H; ++j) {
    x[2 * j] = a[j];
    x[2 * j + 1] = b[j];
  }
}

template <class CV, bool Fwd> ZOR_DFT_INLINE void bf8(typename CV::V *x) { bf_split<CV, Fwd, 8>(x); }
template <class CV, bool Fwd> ZOR_DFT_INLINE void bf16(typename CV::V *x) { bf_split<CV, Fwd, 16>(x); }
template <class CV, bool Fwd> ZOR_DFT_INLINE void bf32(typename CV::V *x) { bf_split<CV, Fwd, 32>(x); }

// ---------------------------------------------------------------- odd radices

template <class CV, bool Fwd, int P>
ZOR_DFT_INLINE void bf_odd(typename CV::V *x) {
  using V = typename CV::V;
  using R = typename CV::real;
  constexpr int H = (P - 1) / 2;
  V s[H], d[H];
  V sum = x[0];
#pragma GCC unroll 16
  for (int k = 0; k < H; ++k) {
    s[k] = add<CV>(x[k + 1], x[P - 1 - k]);
    d[k] = sub<CV>(x[k + 1], x[P - 1 - k]);
    sum = add<CV>(sum, s[k]);
  }
  V y[P];
  y[0] = sum;
#pragma GCC unroll 16
  for (int j = 1; j <= H; ++j) {
    V a = add<CV>(x[0], simd::mul(s[0], CV::splat(R(OddRoots<P>::c[j % P]))));
    V b = simd::mul(d[0], CV::splat(R(OddRoots<P>::s[j % P])));
#pragma GCC unroll 16
    for (int k = 2; k <= H; ++k) {
      int m = (j * k) % P;
      a = add<CV>(a, simd::mul(s[k - 1], CV::splat(R(OddRoots<P>::c[m]))));
      b = add<CV>(b, simd::mul(d[k - 1], CV::splat(R(OddRoots<P>::s[m]))));
    }
    V r = rot<CV, Fwd>(b);
    y[j] = add<CV>(a, r);
    y[P - j] = sub<CV>(a, r);
  }
  for (int j = 0; j < P; ++j) x[j] = y[j];
}

// ---------------------------------------------------------------- by radix

template <class CV, bool Fwd, int P>
ZOR_DFT_INLINE void butterfly(typename CV::V *x) {
  if constexpr (P == 1) {
  } else if constexpr (P == 2) {
    bf2<CV, Fwd>(x);
  } else if constexpr (P == 4) {
    bf4<CV, Fwd>(x);
  } else if constexpr (P == 8 || P == 16 || P == 32) {
    bf_split<CV, Fwd, P>(x);
  } else {
    bf_odd<CV, Fwd, P>(x);
  }
}

}  // namespace zor::dft

namespace zor::dft {

// ---------------------------------------------------------------- coprime factors

// N1 N2 points with N1, N2 coprime, without turns: the input read at
// (N2 n1 + N1 n2) mod N, N2-point transforms over n2, N1-point transforms
// over n1, output k where k = k1 mod N1 and k = k2 mod N2.
template <int N1, int N2>
constexpr int crt_index(int k1, int k2) {
  for (int k = 0; k < N1 * N2; ++k)
    if (k % N1 == k1 && k % N2 == k2) return k;
  return 0;
}

template <class CV, bool Fwd, int N1, int N2>
ZOR_DFT_INLINE void bf_pfa(typename CV::V *x) {
  using V = typename CV::V;
  constexpr int N = N1 * N2;
  V u[N1][N2];
  for (int a = 0; a < N1; ++a)
    for (int b = 0; b < N2; ++b) u[a][b] = x[(N2 * a + N1 * b) % N];
  for (int a = 0; a < N1; ++a) butterfly<CV, Fwd, N2>(u[a]);
  for (int b = 0; b < N2; ++b) {
    V t[N1];
    for (int a = 0; a < N1; ++a) t[a] = u[a][b];
    butterfly<CV, Fwd, N1>(t);
    for (int a = 0; a < N1; ++a) x[crt_index<N1, N2>(a, b)] = t[a];
  }
}

// Any length up to 16, and 32.
template <class CV, bool Fwd, int N>
ZOR_DFT_INLINE void small_dft(typename CV::V *x) {
  if constexpr (N == 6) bf_pfa<CV, Fwd, 2, 3>(x);
  else if constexpr (N == 10) bf_pfa<CV, Fwd, 2, 5>(x);
  else if constexpr (N == 12) bf_pfa<CV, Fwd, 4, 3>(x);
  else if constexpr (N == 14) bf_pfa<CV, Fwd, 2, 7>(x);
  else butterfly<CV, Fwd, N>(x);
}

}  // namespace zor::dft
