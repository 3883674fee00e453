// Plans of the radix layer: creation (factor lists, twiddle and order tables,
// chirp tables), destruction, and compute, one body per precision.
//
// Twiddles and roots are computed in double from exact integer angles
// reduced to the first octant, and stored in the plan's precision.
#include <cmath>
#include <cstring>
#include <utility>

#include <zor/serv.h>

#include "dft/plan.hpp"
#include "dft/plan_passes.hpp"

namespace zor::dft {

void *plan_alloc(int64_t bytes) { return bytes > 0 ? zor_serv_zor_malloc(uint64_t(bytes), 32) : nullptr; }
void plan_free(void *p) {
  if (p) zor_serv_zor_free(p);
}

namespace {
constexpr long double kHalfPi = 1.57079632679489661923132169163975144L;
}  // namespace

// exp(-2 pi i e / n): the angle split into quarter turns and a rest of at
// most an eighth of a turn, so that cos and sin see arguments up to pi / 4.
cplx<double> unit_root(int64_t e, int64_t n) {
  e %= n;
  if (e < 0) e += n;
  int64_t quarter = (4 * e) / n, rest = 4 * e - quarter * n;
  double c, s;
  if (2 * rest <= n) {
    double a = double(kHalfPi * (long double)rest / (long double)n);
    c = std::cos(a), s = std::sin(a);
  } else {
    double b = double(kHalfPi * (long double)(n - rest) / (long double)n);
    c = std::sin(b), s = std::cos(b);
  }
  double C = c, S = s;
  switch (quarter) {
    case 1: C = -s, S = c; break;
    case 2: C = -c, S = -s; break;
    case 3: C = s, S = -c; break;
    default: break;
  }
  return {C, -S};
}

RootTable::RootTable(int64_t n) : n_(n) {
  if (n <= kExactRootsMax) return;
  while ((int64_t(1) << (2 * shift_)) < n) ++shift_;
  const int64_t m = int64_t(1) << shift_, highs = (n >> shift_) + 1;
  mask_ = m - 1;
  low_ = static_cast<cplx<double> *>(plan_alloc(int64_t(sizeof(cplx<double>)) * (m + highs)));
  if (!low_) return;
  high_ = low_ + m;
  for (int64_t k = 0; k < m; ++k) low_[k] = unit_root(k, n);
  for (int64_t k = 0; k < highs; ++k) high_[k] = unit_root(k * m, n);
}

RootTable::~RootTable() { plan_free(low_); }

namespace {

bool is_pow2_len(int64_t n) { return n > 0 && (n & (n - 1)) == 0; }
int32_t log2_of(int64_t n) {
  int32_t o = 0;
  while ((int64_t(1) << o) < n) ++o;
  return o;
}

// Passes whose span fits these many bytes run block by block.
constexpr int64_t kInnerBytes = 16 << 10, kMiddleBytes = 256 << 10;
constexpr int64_t kMixedInnerElems = 500;
// Power-of-two lines longer than this run their leaves first.
constexpr int64_t kStreamBytes = 32 << 10;

// ---------------------------------------------------------------- tables

template <class R>
void *make_prime_table(int p) {
  using V = typename Wide<R>::V;
  auto *t = static_cast<V *>(plan_alloc(int64_t(sizeof(V)) * 2 * p));
  if (!t) return nullptr;
  for (int m = 0; m < p; ++m) {
    cplx<double> w = unit_root(m, p);  // (cos, -sin)
    t[m] = Wide<R>::splat(R(w.re));
    t[p + m] = Wide<R>::splat(R(-w.im));
  }
  return t;
}

// The order table of the first pass: input positions of its groups by digit
// reversal over f_0 .. f_{L-1}.
int32_t *make_order(const DftPlan *p) {
  const int L = p->last_factor;
  int64_t count = int64_t(p->length) / p->factors[L].radix;
  auto *t = static_cast<int32_t *>(plan_alloc(int64_t(sizeof(int32_t)) * (count > 0 ? count : 1)));
  if (!t) return nullptr;
  t[0] = 0;
  int64_t size = 1;
  for (int i = L - 1; i >= 0; --i) {
    int64_t weight = p->factors[i].done;  // f_0 .. f_{i-1}
    int r = p->factors[i].radix;
    for (int j = r - 1; j >= 1; --j)
      for (int64_t k = 0; k < size; ++k) t[j * size + k] = int32_t(t[k] + j * weight);
    size *= r;
  }
  return t;
}

template <class R>
void *make_twiddles(const RootTable &root, const DftFactor &f) {
  using W = Wide<R>;
  using Tw = typename W::Tw;
  int64_t count = Passes<R>::twiddle_count(f.radix, f.remaining);
  if (count == 0) return nullptr;
  auto *t = static_cast<Tw *>(plan_alloc(int64_t(sizeof(Tw)) * count));
  if (!t) return nullptr;
  Tw *w = t;
  for (int64_t q = 0; q < f.remaining; q += W::lanes)
    for (int j = 1; j < f.radix; ++j, ++w) {
      cplx<double> lanes[2];
      for (int l = 0; l < W::lanes; ++l) {
        int64_t qq = q + l < f.remaining ? q + l : q;
        lanes[l] = root(int64_t(j) * qq * f.done);
      }
      W::set_tw(w, lanes);
    }
  return t;
}

void free_tables(DftPlan *p) {
  for (int k = 0; k < DFT_PLAN_MAX_FACTORS; ++k) {
    plan_free(p->factors[k].twiddles);
    plan_free(p->factors[k].prime_table);
    p->factors[k].twiddles = p->factors[k].prime_table = nullptr;
  }
  plan_free(p->order);
  plan_free(p->direct_table);
  plan_free(p->chirp);
  plan_free(p->chirp_spectrum);
  plan_free(p->half_cos);
  plan_free(p->half_sin);
  p->half_cos = p->half_sin = nullptr;
  p->order = nullptr;
  p->direct_table = p->chirp = p->chirp_spectrum = nullptr;
  if (p->fft) plan_destroy(p->fft);
  if (p->sub_plan) plan_destroy(p->sub_plan);
  p->fft = p->sub_plan = nullptr;
}

// Fill remaining, done and the blocking groups of the factor list, then the
// tables of the passes.
template <class R>
int32_t build_passes(DftPlan *p, const int32_t *radix, int count, bool pow2) {
  const int64_t n = p->length;
  p->mixed = 1;
  p->last_factor = count - 1;
  int64_t done = 1;
  for (int k = 0; k < count; ++k) {
    DftFactor &f = p->factors[k];
    f.radix = radix[k];
    f.done = done;
    done *= radix[k];
    f.remaining = n / done;
  }
  const int64_t elem = int64_t(sizeof(cplx<R>));
  const int64_t inner = pow2 ? kInnerBytes / elem : kMixedInnerElems, middle = pow2 ? kMiddleBytes / elem : 0;
  for (int k = 0; k < count; ++k) {
    DftFactor &f = p->factors[k];
    int64_t span = f.radix * f.remaining;
    f.group = span <= inner ? 2 : span <= middle ? 1 : 0;
  }
  p->block_elems = int32_t(inner);
  p->order = make_order(p);
  if (!p->order) return DFT_PLAN_NO_MEMORY;
  RootTable root(count > 1 ? n : 1);
  if (!root.ok()) return DFT_PLAN_NO_MEMORY;
  for (int k = 0; k < count; ++k) {
    DftFactor &f = p->factors[k];
    if (k < count - 1 && f.remaining > 1) {
      f.twiddles = make_twiddles<R>(root, f);
      if (!f.twiddles) return DFT_PLAN_NO_MEMORY;
    }
    if (f.radix > 16 && f.radix != 32) {
      f.prime_table = make_prime_table<R>(f.radix);
      if (!f.prime_table) return DFT_PLAN_NO_MEMORY;
    }
  }
  return DFT_PLAN_OK;
}

template <class R>
int32_t new_plan(DftPlan **out, int32_t tag, int64_t n) {
  auto *p = static_cast<DftPlan *>(plan_alloc(sizeof(DftPlan)));
  if (!p) return DFT_PLAN_NO_MEMORY;
  std::memset(p, 0, sizeof *p);
  p->tag = tag;
  p->length = int32_t(n);
  p->precision = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  *out = p;
  return DFT_PLAN_OK;
}

// The inner power-of-two plan: radix-8 passes over a leaf of 8, 16 or 32.
template <class R>
int32_t create_pow2(DftPlan **out, int64_t n, int32_t tag, bool unordered) {
  int32_t o = log2_of(n);
  if (o > 27) return DFT_PLAN_BAD_ORDER;
  DftPlan *p = nullptr;
  if (int32_t s = new_plan<R>(&p, tag, n)) return s;
  p->uses_fft = 1;
  p->order_log2 = o;
  p->unordered = unordered && n > 5000;
  int64_t bytes = ((int64_t(16) << o) + 31) & ~int64_t(31);
  p->work_size = int32_t(bytes > 0 ? bytes + 32 : 0);
  if (o >= 6) {
    int32_t radix[DFT_PLAN_MAX_FACTORS], count = 0;
    int leaf = 3 + o % 3;
    for (int k = 0; k < (o - leaf) / 3; ++k) radix[count++] = 8;
    radix[count++] = 1 << leaf;
    if (int32_t s = build_passes<R>(p, radix, count, true)) {
      free_tables(p);
      plan_free(p);
      return s;
    }
  }
  *out = p;
  return DFT_PLAN_OK;
}

template <class R>
int32_t create(DftPlan **out, int64_t n, int32_t mode, int32_t hint, int32_t tag, bool unordered);

// The chirp convolution: chirp[k] = exp(-i pi k^2 / n); the spectrum of the
// conjugate chirp laid around the circle of L points, divided by L.
template <class R>
int32_t build_chirp(DftPlan *p, int64_t n) {
  using E = cplx<R>;
  int64_t L = chirp_length(n);
  p->conv_length = int32_t(L);
  // Unordered above 5000 points: the spectrum is kept in the order the
  // forward passes leave it (see run_chirp).
  if (int32_t s = create<R>(&p->sub_plan, L, DFT_SCALE_NONE, 0, DFT_PLAN_TAG_UNORDERED, true)) return s;
  auto *chirp = static_cast<E *>(plan_alloc(int64_t(sizeof(E)) * n));
  auto *spectrum = static_cast<E *>(plan_alloc(int64_t(sizeof(E)) * L));
  p->chirp = chirp;
  p->chirp_spectrum = spectrum;
  if (!chirp || !spectrum) return DFT_PLAN_NO_MEMORY;
  int64_t q = 0;
  for (int64_t k = 0; k < n; ++k) {
    cplx<double> w = unit_root(q, 2 * n);
    chirp[k] = {R(w.re), R(w.im)};
    q += 2 * k + 1;
    while (q >= 2 * n) q -= 2 * n;
  }
  std::memset(spectrum, 0, sizeof(E) * size_t(L));
  for (int64_t k = 0; k < n; ++k) spectrum[k] = conj(chirp[k]);
  for (int64_t k = 1; k < n; ++k) spectrum[L - k] = spectrum[k];
  int32_t s = plan_forward<R>(spectrum, spectrum, p->sub_plan, nullptr);
  if (s) return s;
  R inv = R(1.0 / double(L));
  for (int64_t k = 0; k < L; ++k) spectrum[k] = inv * spectrum[k];
  int32_t sub_work = 0;
  plan_work_size(p->sub_plan, &sub_work);
  p->work_size = int32_t(16 * L + 64 + sub_work);
  return DFT_PLAN_OK;
}

template <class R>
int32_t create(DftPlan **out, int64_t n, int32_t mode, int32_t hint, int32_t tag, bool unordered) {
  if (!out) return DFT_PLAN_NULL_POINTER;
  if (n < 1) return DFT_PLAN_BAD_SIZE;
  if (mode != DFT_SCALE_FORWARD && mode != DFT_SCALE_BACKWARD && mode != DFT_SCALE_SQRT_BOTH &&
      mode != DFT_SCALE_NONE)
    return DFT_PLAN_BAD_FLAG;
  bool pow2 = is_pow2_len(n);
  if (!pow2 && n >= 0x4000000) return DFT_PLAN_BAD_SIZE;
  if (pow2 && n > (int64_t(1) << 27)) return DFT_PLAN_BAD_ORDER;
  DftPlan *p = nullptr;
  if (int32_t s = new_plan<R>(&p, tag, n)) return s;
  p->hint = hint;
  p->scale_forward = mode == DFT_SCALE_FORWARD || mode == DFT_SCALE_SQRT_BOTH;
  p->scale_backward = mode == DFT_SCALE_BACKWARD || mode == DFT_SCALE_SQRT_BOTH;
  p->scale = mode == DFT_SCALE_SQRT_BOTH ? 1.0 / std::sqrt(double(n)) : mode == DFT_SCALE_NONE ? 0.0 : 1.0 / double(n);
  p->unordered = unordered && n > 5000;
  int32_t s = DFT_PLAN_OK;
  int32_t inner_tag = tag == DFT_PLAN_TAG_SPLIT ? DFT_PLAN_TAG_POW2_SPLIT : DFT_PLAN_TAG_POW2_COMPLEX;
  if (n < 17) {
    p->work_size = 0;
  } else if (pow2) {
    p->uses_fft = 1;
    s = create_pow2<R>(&p->fft, n, inner_tag, unordered);
    if (!s) p->work_size = p->fft->work_size;
  } else {
    int32_t f[DFT_PLAN_MAX_FACTORS];
    int32_t count = factorise(n, f);
    if (count > 0) {
      if (!p->unordered) {
        if (count >= 2 && f[1] == 4) {
          f[0] *= 4;
          for (int k = 1; k + 1 < count; ++k) f[k] = f[k + 1];
          --count;
        }
        if (f[0] == 2 || f[0] == 4 || f[0] == 8 || f[0] == 16) {
          int32_t t = f[0];
          f[0] = f[count - 1];
          f[count - 1] = t;
        }
      }
      s = build_passes<R>(p, f, count, false);
      if (!s) {
        int64_t big = 0;
        for (int k = 0; k < count; ++k)
          if (f[k] > 13 && f[k] > big) big = (n / f[k]) % 2 == 0 ? 2 * f[k] : f[k];
        p->work_size = int32_t((big + n) * 16 + 64);
      }
    } else if (n < 91) {
      p->direct_table = make_prime_table<R>(int(n));
      if (!p->direct_table) s = DFT_PLAN_NO_MEMORY;
      p->work_size = 0;
    } else if (n < 0x2000000) {
      s = build_chirp<R>(p, n);
    } else {
      s = DFT_PLAN_BAD_SIZE;
    }
  }
  if (s) {
    free_tables(p);
    plan_free(p);
    return s;
  }
  *out = p;
  return DFT_PLAN_OK;
}

// ---------------------------------------------------------------- compute

template <class R, bool Fwd>
struct Runner {
  using E = cplx<R>;
  using Tw = typename Wide<R>::Tw;
  const DftPlan *p;
  const E *in;
  E *work, *out;
  bool contiguous_first;  // the backward unordered plan reads its input as it lies
  int L;
  bool leaf_done = false;  // the first pass ran over the whole line already

  int level(int k) const { return p->factors[k].group; }
  int64_t span(int k) const { return int64_t(p->factors[k].radix) * p->factors[k].remaining; }
  int lowest(int v) const {
    for (int k = 0; k <= L; ++k)
      if (level(k) >= v) return k;
    return L;
  }

  void dit_pass(int k, int64_t start, int64_t size) {
    const DftFactor &f = p->factors[k];
    int64_t g0 = start / span(k), g1 = (start + size) / span(k);
    E *dst = k == 0 ? out : work;
    if (k == L) {
      int64_t stride = contiguous_first ? 1 : p->length / f.radix;
      Passes<R>::template first_any<Fwd>(f.radix, in, stride, contiguous_first ? nullptr : p->order, dst, g0, g1,
                                         f.prime_table);
    } else {
      Passes<R>::template twiddle_any<Fwd, false>(f.radix, work, dst, g0, g1, f.remaining,
                                                  static_cast<const Tw *>(f.twiddles), f.prime_table);
    }
  }

  void dif_pass(int k, int64_t start, int64_t size) {
    const DftFactor &f = p->factors[k];
    int64_t g0 = start / span(k), g1 = (start + size) / span(k);
    const E *src = k == 0 ? in : work;
    E *dst = k == L ? out : work;
    if (k == L)
      Passes<R>::template first_any<Fwd>(f.radix, src, 1, nullptr, dst, g0, g1, f.prime_table);
    else
      Passes<R>::template twiddle_any<Fwd, true>(f.radix, src, dst, g0, g1, f.remaining,
                                                 static_cast<const Tw *>(f.twiddles), f.prime_table);
  }

  // Passes of blocking level v and inward, on the block at `start`.
  void dit(int v, int64_t start) {
    int kc = lowest(v);
    int64_t size = span(kc);
    if (level(L) > v) {
      int kn = lowest(v + 1);
      int64_t sub = span(kn);
      for (int64_t s = start; s < start + size; s += sub) dit(v + 1, s);
      for (int k = kn - 1; k >= kc; --k) dit_pass(k, start, size);
    } else {
      for (int k = leaf_done ? L - 1 : L; k >= kc; --k) dit_pass(k, start, size);
    }
  }

  void dif(int v, int64_t start) {
    int kc = lowest(v);
    int64_t size = span(kc);
    if (level(L) > v) {
      int kn = lowest(v + 1);
      int64_t sub = span(kn);
      for (int k = kc; k < kn; ++k) dif_pass(k, start, size);
      for (int64_t s = start; s < start + size; s += sub) dif(v + 1, s);
    } else {
      for (int k = kc; k <= L; ++k) dif_pass(k, start, size);
    }
  }
};

template <class R>
R *aligned32(void *p) {
  auto a = (reinterpret_cast<uintptr_t>(p) + 31) & ~uintptr_t(31);
  return reinterpret_cast<R *>(a);
}

// Passes of a plan with factors (power-of-two inner plans and mixed plans).
template <class R, bool Fwd>
void run_passes(const DftPlan *p, const cplx<R> *in, cplx<R> *out, cplx<R> *work) {
  if (p->order_log2 <= 5 && p->uses_fft) {
    small_kernel<R>(p->length, Fwd, false)(in, out, R(1));
    return;
  }
  Runner<R, Fwd> run{p, in, in == out ? work : out, out, false, p->last_factor};
  if (p->unordered && Fwd) {
    run.dif(0, 0);
    return;
  }
  run.contiguous_first = p->unordered != 0;
  // A long power-of-two line: the leaves gathered block by block would
  // read each cache line of the input at several distant times, so they
  // run first over the whole line in the order of their inputs.
  const int L = p->last_factor;
  if (!run.contiguous_first && p->uses_fft && L > 0 && p->length * int64_t(sizeof(cplx<R>)) > kStreamBytes) {
    const DftFactor &leaf = p->factors[L];
    Passes<R>::template leaves_by_input_any<Fwd>(leaf.radix, in, p->length / leaf.radix, p->order, run.work,
                                                 p->length / leaf.radix);
    run.leaf_done = true;
  }
  run.dit(0, 0);
}

template <class R, bool Fwd>
void run_direct(const DftPlan *p, const cplx<R> *in, cplx<R> *out) {
  using N = Narrow<R>;
  typename N::V x[96];
  int n = p->length;
  for (int j = 0; j < n; ++j) x[j] = N::load(in + j);
  bf_generic<N, Fwd>(x, n, p->direct_table);
  for (int j = 0; j < n; ++j) N::store(out + j, x[j]);
}

template <class R>
void multiply_lines(const cplx<R> *a, const cplx<R> *b, cplx<R> *out, int64_t n) {
  using W = Wide<R>;
  using N = Narrow<R>;
  int64_t k = 0;
  for (; k + W::lanes <= n; k += W::lanes) W::store(out + k, simd::cmul(W::load(a + k), W::load(b + k)));
  for (; k < n; ++k) N::store(out + k, simd::cmul(N::load(a + k), N::load(b + k)));
}

// The chirp convolution with a spectrum kept in the order the unordered
// plan leaves it, in the buffer b of L points: the forward passes by
// decimation in frequency and the backward ones by decimation in time meet
// on each block of the innermost blocking level, where the product is
// taken, so that a block goes through both transforms while it sits in the
// cache. When the first pass has radix 8, it reads the input times the
// chirp itself (zero from n on) and the last one writes the n values wanted
// times the chirp, reversed from 1 on for the backward transform; otherwise
// the line is prepared in b and taken from there.
template <class R, bool Fwd>
struct Convolver {
  using E = cplx<R>;
  using P = Passes<R>;
  using W = Wide<R>;
  using N = Narrow<R>;
  using Tw = typename W::Tw;
  Runner<R, true> fwd;
  Runner<R, false> bwd;
  const E *spectrum, *chirp, *in;
  E *out;
  int64_t n;
  bool fused_ends;

  Convolver(const DftPlan *q, E *b, const E *chirp_spectrum, const E *ch, const E *x, E *y, int64_t len)
      : fwd{q, b, b, b, false, q->last_factor},
        bwd{q, b, b, b, true, q->last_factor},
        spectrum(chirp_spectrum),
        chirp(ch),
        in(x),
        out(y),
        n(len),
        fused_ends(q->factors[0].radix == 8 && q->last_factor > 0 && 2 * q->factors[0].remaining <= len &&
                   len <= 4 * q->factors[0].remaining) {}

  int32_t run() {
    E *b = fwd.out;
    if (!fused_ends) {
      multiply_lines(in, chirp, b, n);
      std::memset(static_cast<void *>(b + n), 0, sizeof(E) * size_t(fwd.span(0) - n));
    }
    level(0, 0);
    if (!fused_ends) {
      multiply_lines(b, chirp, out, n);
      if (!Fwd) reverse_tail(out, n);
    }
    return DFT_PLAN_OK;
  }

  static void reverse_tail(E *x, int64_t len) {
    for (int64_t i = 1, j = len - 1; i < j; ++i, --j) std::swap(x[i], x[j]);
  }

  void level(int v, int64_t start) {
    const int L = fwd.L, kc = fwd.lowest(v);
    const int64_t size = fwd.span(kc);
    if (fwd.level(L) > v) {
      const int kn = fwd.lowest(v + 1);
      const int64_t sub = fwd.span(kn);
      for (int k = kc; k < kn; ++k) forward_pass(k, start, size);
      for (int64_t s = start; s < start + size; s += sub) level(v + 1, s);
      for (int k = kn - 1; k >= kc; --k) backward_pass(k, start, size);
    } else {
      for (int k = kc; k < L; ++k) forward_pass(k, start, size);
      const DftFactor &leaf = fwd.p->factors[L];
      P::leaf_product(leaf.radix, fwd.out + start, spectrum + start, size / leaf.radix, leaf.prime_table);
      for (int k = L - 1; k >= kc; --k) backward_pass(k, start, size);
    }
  }

  // The first pass and the last: butterfly q has its inputs (and wanted
  // outputs) j at q + j rem below n. With 2 rem <= n <= 4 rem (a radix of 8
  // over the smallest power of two at or above 2n - 1), that is j below 4,
  // 3 or 2 as q runs up; each stretch takes its pruned butterflies (pairs
  // of q for floats take the count of their first q).
  template <int K, class Pass>
  static void pruned(Pass &&pass, int64_t q0, int64_t q1) {
    if (q0 < q1) pass.template operator()<K>(q0, q1);
  }

  template <class Pass>
  void by_stretches(Pass &&pass) const {
    const int64_t rem = fwd.p->factors[0].remaining;
    auto edge = [&](int64_t v) {
      v = v < 0 ? 0 : v > rem ? rem : v;
      return (v + W::lanes - 1) / W::lanes * W::lanes;
    };
    const int64_t e4 = edge(n - 3 * rem), e3 = edge(n - 2 * rem);
    pruned<4>(pass, 0, e4);
    pruned<3>(pass, e4, e3);
    pruned<2>(pass, e3, rem);
  }

  void forward_pass(int k, int64_t start, int64_t size) {
    if (k > 0 || !fused_ends) return fwd.dif_pass(k, start, size);
    const int64_t rem = fwd.p->factors[0].remaining;
    const auto *tw = static_cast<const Tw *>(fwd.p->factors[0].twiddles);
    E *b = fwd.out;
    by_stretches([&]<int K>(int64_t q0, int64_t q1) {
      P::template butterflies<true, true, 8, K>(
          q0, q1, tw + q0 / W::lanes * 7, 8, nullptr,
          [&](auto cv, int64_t q, int j) __attribute__((always_inline)) {
            using CV = decltype(cv);
            const int64_t at = q + j * rem;
            if (at + CV::lanes <= n) return simd::cmul(CV::load(in + at), CV::load(chirp + at));
            if (CV::lanes > 1 && at < n) return simd::cmul(N::load(in + at), N::load(chirp + at));
            return simd::zero<typename CV::V>();
          },
          [&](auto cv, int64_t q, int j, auto v) __attribute__((always_inline)) {
            decltype(cv)::store(b + q + j * rem, v);
          });
    });
  }

  int64_t target(int64_t at) const { return Fwd || at == 0 ? at : n - at; }

  void backward_pass(int k, int64_t start, int64_t size) {
    if (k > 0 || !fused_ends) return bwd.dit_pass(k, start, size);
    const int64_t rem = fwd.p->factors[0].remaining;
    const auto *tw = static_cast<const Tw *>(fwd.p->factors[0].twiddles);
    const E *b = fwd.out;
    by_stretches([&]<int K>(int64_t q0, int64_t q1) {
      P::template butterflies<false, false, 8, 0, K>(
          q0, q1, tw + q0 / W::lanes * 7, 8, nullptr,
          [&](auto cv, int64_t q, int j) __attribute__((always_inline)) {
            return decltype(cv)::load(b + q + j * rem);
          },
          [&](auto cv, int64_t q, int j, auto v) __attribute__((always_inline)) {
            using CV = decltype(cv);
            const int64_t at = q + j * rem;
            if (at + CV::lanes <= n) {
              auto y = simd::cmul(v, CV::load(chirp + at));
              if constexpr (CV::lanes == 1) CV::store(out + target(at), y);
              else CV::store2(out + target(at), out + target(at + 1), y);
            } else if (CV::lanes > 1 && at < n) {
              N::store(out + target(at), simd::cmul(v, N::load(chirp + at)));
            }
          });
    });
  }
};

// The plan whose passes a chirp convolution runs: the inner power-of-two
// plan or the mixed plan itself; null when the sub-plan runs in natural
// order (then the two transforms run one after the other).
inline const DftPlan *unordered_passes(const DftPlan *sub) {
  const DftPlan *q = sub->uses_fft ? sub->fft : sub;
  return q && q->mixed && q->unordered ? q : nullptr;
}

template <class R, bool Fwd>
int32_t run_chirp(const DftPlan *p, const cplx<R> *in, cplx<R> *out, cplx<R> *work) {
  using E = cplx<R>;
  const int64_t n = p->length, L = p->conv_length;
  const E *chirp = static_cast<const E *>(p->chirp), *spectrum = static_cast<const E *>(p->chirp_spectrum);
  E *b = work;
  if (const DftPlan *q = unordered_passes(p->sub_plan))
    return Convolver<R, Fwd>(q, b, spectrum, chirp, in, out, n).run();
  void *sub_work = aligned32<E>(b + L);
  multiply_lines(in, chirp, b, n);
  std::memset(static_cast<void *>(b + n), 0, sizeof(E) * size_t(L - n));
  if (int32_t s = plan_forward<R>(b, b, p->sub_plan, sub_work)) return s;
  multiply_lines(b, spectrum, b, L);
  if (int32_t s = plan_backward<R>(b, b, p->sub_plan, sub_work)) return s;
  multiply_lines(b, chirp, out, n);
  if (!Fwd) Convolver<R, Fwd>::reverse_tail(out, n);
  return DFT_PLAN_OK;
}

template <class R>
void scale_line(cplx<R> *x, int64_t n, R s) {
  using W = Wide<R>;
  int64_t k = 0;
  for (; k + W::lanes <= n; k += W::lanes) W::store(x + k, scale_by<W>(W::load(x + k), s));
  for (; k < n; ++k) x[k] = s * x[k];
}

template <class R, bool Fwd>
int32_t run(const cplx<R> *in, cplx<R> *out, const DftPlan *p, void *workspace) {
  if (!p || !in || !out) return DFT_PLAN_NULL_POINTER;
  if (p->tag != DFT_PLAN_TAG_COMPLEX && p->tag != DFT_PLAN_TAG_UNORDERED) return DFT_PLAN_WRONG_TAG;
  const int64_t n = p->length;
  const bool scaled = Fwd ? p->scale_forward : p->scale_backward;
  if (n < 17) {
    small_kernel<R>(n, Fwd, scaled)(in, out, R(p->scale));
    return DFT_PLAN_OK;
  }
  void *own = nullptr;
  if (!workspace && p->work_size > 0) {
    own = plan_alloc(p->work_size);
    if (!own) return DFT_PLAN_NO_MEMORY;
    workspace = own;
  }
  auto *work = workspace ? aligned32<cplx<R>>(workspace) : nullptr;
  int32_t s = DFT_PLAN_OK;
  if (p->uses_fft) run_passes<R, Fwd>(p->fft, in, out, work);
  else if (p->mixed) run_passes<R, Fwd>(p, in, out, work);
  else if (p->chirp) s = run_chirp<R, Fwd>(p, in, out, work);
  else run_direct<R, Fwd>(p, in, out);
  plan_free(own);
  if (!s && scaled) scale_line(out, n, R(p->scale));
  return s;
}

// Split storage: the line interleaved into the workspace, transformed there
// by the complex plan inside, and spread back.
template <class R, bool Fwd>
int32_t run_split(const R *ire, const R *iim, R *ore, R *oim, const DftPlan *p, void *workspace) {
  if (!p || !ire || !iim || !ore || !oim) return DFT_PLAN_NULL_POINTER;
  if (p->tag != DFT_PLAN_TAG_SPLIT || !p->sub_plan) return DFT_PLAN_WRONG_TAG;
  const int64_t n = p->length;
  void *own = nullptr;
  if (!workspace) {
    own = plan_alloc(p->work_size);
    if (!own) return DFT_PLAN_NO_MEMORY;
    workspace = own;
  }
  auto *line = aligned32<cplx<R>>(workspace);
  for (int64_t k = 0; k < n; ++k) line[k] = {ire[k], iim[k]};
  int32_t s = run<R, Fwd>(line, line, p->sub_plan, aligned32<cplx<R>>(line + n));
  if (!s)
    for (int64_t k = 0; k < n; ++k) ore[k] = line[k].re, oim[k] = line[k].im;
  plan_free(own);
  return s;
}

}  // namespace

// ---------------------------------------------------------------- the interface

int32_t factorise(int64_t n, int32_t *f) {
  int32_t count = 0;
  int64_t m = n;
  int fours = 0;
  while (m % 4 == 0) m /= 4, ++fours;
  if (m % 2 == 0) {
    f[count++] = 2;
    m /= 2;
  }
  for (int k = 0; k < fours; ++k) f[count++] = 4;
  if (m >= 9) {
    int64_t c = 3;
    while (m >= c * c) {
      if (m % c == 0) {
        if (count >= DFT_PLAN_MAX_FACTORS - 1) return 0;
        f[count++] = int32_t(c);
        m /= c;
      } else if ((c += 2) > 90) {
        return 0;
      }
    }
  }
  if (count == 0) return 0;
  if (m > ((n & 1) ? 90 : 150)) return 0;
  if (m > 1) {
    if (count >= DFT_PLAN_MAX_FACTORS) return 0;
    f[count++] = int32_t(m);
  }
  return count;
}

int64_t chirp_length(int64_t n) {
  static constexpr int64_t kSmooth[] = {128,  144,  160,  192,  200,  256,  288,  320,  384,  400,  512,
                                        576,  640,  768,  800,  1024, 1152, 1280, 1536, 1600, 2048, 2304,
                                        2560, 3072, 3200, 4096, 4608, 5120, 6144, 6400, 8192};
  for (int64_t L : kSmooth)
    if (L >= 2 * n - 1) return L;
  int64_t L = 16384;
  while (L < 2 * n - 1) L *= 2;
  return L;
}

template <class R>
int32_t plan_create_ordered(DftPlan **out, int64_t n, int32_t mode, int32_t hint) {
  return create<R>(out, n, mode, hint, DFT_PLAN_TAG_COMPLEX, false);
}
template <class R>
int32_t plan_create_unordered(DftPlan **out, int64_t n, int32_t mode, int32_t hint) {
  return create<R>(out, n, mode, hint, DFT_PLAN_TAG_UNORDERED, true);
}
template <class R>
int32_t plan_create_split(DftPlan **out, int64_t n, int32_t mode, int32_t hint) {
  if (!out) return DFT_PLAN_NULL_POINTER;
  DftPlan *p = nullptr;
  if (n < 1) return DFT_PLAN_BAD_SIZE;
  if (int32_t s = new_plan<R>(&p, DFT_PLAN_TAG_SPLIT, n)) return s;
  p->hint = hint;
  if (int32_t s = create<R>(&p->sub_plan, n, mode, hint, DFT_PLAN_TAG_COMPLEX, false)) {
    plan_free(p);
    return s;
  }
  p->uses_fft = p->sub_plan->uses_fft;
  p->work_size = int32_t(int64_t(sizeof(cplx<R>)) * n + 64 + p->sub_plan->work_size);
  *out = p;
  return DFT_PLAN_OK;
}

int32_t plan_work_size(const DftPlan *plan, int32_t *out) {
  if (!plan || !out) return DFT_PLAN_NULL_POINTER;
  *out = plan->work_size;
  return DFT_PLAN_OK;
}

void plan_destroy(DftPlan *plan) {
  if (!plan) return;
  free_tables(plan);
  plan_free(plan);
}

template <class R>
int32_t plan_forward(const cplx<R> *in, cplx<R> *out, const DftPlan *plan, void *ws) {
  return run<R, true>(in, out, plan, ws);
}
template <class R>
int32_t plan_backward(const cplx<R> *in, cplx<R> *out, const DftPlan *plan, void *ws) {
  return run<R, false>(in, out, plan, ws);
}
template <class R>
int32_t plan_forward_split(const R *a, const R *b, R *c, R *d, const DftPlan *plan, void *ws) {
  return run_split<R, true>(a, b, c, d, plan, ws);
}
template <class R>
int32_t plan_backward_split(const R *a, const R *b, R *c, R *d, const DftPlan *plan, void *ws) {
  return run_split<R, false>(a, b, c, d, plan, ws);
}

#define ZOR_DFT_PLAN_INSTANCES(R)                                                                      \
  template int32_t plan_create_ordered<R>(DftPlan **, int64_t, int32_t, int32_t);                     \
  template int32_t plan_create_unordered<R>(DftPlan **, int64_t, int32_t, int32_t);                   \
  template int32_t plan_create_split<R>(DftPlan **, int64_t, int32_t, int32_t);                       \
  template int32_t plan_forward<R>(const cplx<R> *, cplx<R> *, const DftPlan *, void *);              \
  template int32_t plan_backward<R>(const cplx<R> *, cplx<R> *, const DftPlan *, void *);             \
  template int32_t plan_forward_split<R>(const R *, const R *, R *, R *, const DftPlan *, void *);     \
  template int32_t plan_backward_split<R>(const R *, const R *, R *, R *, const DftPlan *, void *);
ZOR_DFT_PLAN_INSTANCES(float)
ZOR_DFT_PLAN_INSTANCES(double)
#undef ZOR_DFT_PLAN_INSTANCES

}  // namespace zor::dft
