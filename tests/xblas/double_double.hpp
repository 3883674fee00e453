// The double-double sequences in plain scalar code, written from their
// definition one operation at a time: the arithmetic of the tests' model and
// of the benchmark's one-result loop.
#pragma once

namespace zor::test::xblas {

struct DD {
  double h = 0, t = 0;
};

inline void split(double a, double &hi, double &lo) {
  const double c = 134217729.0 * a;
  hi = c - (c - a);
  lo = a - hi;
}
inline DD two_product(double a, double b) {
  double ah, al, bh, bl;
  split(a, ah, al);
  split(b, bh, bl);
  const double p = a * b;
  return {p, (((ah * bh - p) + ah * bl) + al * bh) + al * bl};
}
inline DD dd_add(DD x, DD y) {
  double s1 = x.h + y.h, bv = s1 - x.h, s2 = (y.h - bv) + (x.h - (s1 - bv));
  double t1 = x.t + y.t;
  bv = t1 - x.t;
  double t2 = (y.t - bv) + (x.t - (t1 - bv));
  s2 = s2 + t1;
  const double u = s1 + s2;
  s2 = s2 - (u - s1);
  t2 = t2 + s2;
  const double h = u + t2;
  return {h, t2 - (h - u)};
}
inline DD dd_mul(DD x, double a) {
  const DD pe = two_product(x.h, a);
  const double e = pe.t + x.t * a, u = pe.h + e;
  return {u, e - (u - pe.h)};
}
inline DD neg(DD x) { return {-x.h, -x.t}; }

}  // namespace zor::test::xblas
