// Long one-dimensional transforms by four steps. With n = m1 m2 (m1 the
// smaller factor), input point j = j2 + m2 j1 and output point
// k = k1 + m1 k2:
//   1. the m2 lines j2 (points j1) go through the row child of m1 points;
//   2. point k1 of line j2 is multiplied by w^(j2 k1), w = exp(-2 pi i / n),
//      and the lines are stored one after another (point (j2, k1) at
//      j2 pitch + k1);
//   3. the m1 columns k1 are copied out in blocks of 16 by a transposing
//      copy and go through the column child of m2 points;
//   4. point k2 of column k1 is written to k1 + m1 k2.
// The backward transform is the same with the children's backward kernels
// and conjugate twiddles.
//
// Where the lines of step 2 live (transpose_mode): 0 a scratch of m2 lines
// padded to row_pitch; 1 the output itself (out of place; in place the data
// is first transposed in place); -1 the output after a transposing copy of
// the input. Steps 3 and 4 read and write the same points of the output
// block by block, so they may run in place.
//
// The twiddles come from two levels of T values, T a power of two with
// T^2 > n: w^j = first[j mod T] * second[j / T], both levels computed in
// double and stored in the element type.
//
// The workspace share of a node (work_size bytes) holds the children's
// workspace, then the line buffer of the group of step 1 or the block of
// step 3; compute allocates only the scratch of mode 0.
#include "dft/four_step.hpp"

#include <cmath>
#include <cstring>

#include <zor/dft_tier.h>
#include <zor/serv.h>
#include <zor/trans.h>

#include "dft/compute.hpp"
#include "dft/node.hpp"
#include "frame/memory.hpp"
#include "frame/simd.hpp"

namespace zor::dft {

namespace {

constexpr int64_t kGroup = 8;   // lines of a group of steps 1 and 2
constexpr int64_t kBlock = 16;  // columns of a block of step 3
constexpr int32_t kAlign = 64;

int64_t round_up(int64_t v, int64_t to) { return (v + to - 1) / to * to; }

// Elements between lines of m points: the line rounded up to 64 bytes, and
// 64 bytes more when that is a multiple of 4096 (so that lines do not share
// cache sets).
int64_t pitch_of(int64_t m, int64_t element) {
  int64_t bytes = round_up(m * element, 64);
  if (bytes % 4096 == 0) bytes += 64;
  return bytes / element;
}

// The smaller factor of the split, 1 when there is none.
int64_t split_factor(int64_t n, int64_t length_log2) {
  if (length_log2 >= 0 && length_log2 < 63 && n == int64_t(1) << length_log2) return int64_t(1) << (length_log2 / 2);
  int64_t t = int64_t(std::sqrt(double(n)));
  while (t * t < n) ++t;
  int64_t factors[64];
  int count = 0, rest = n;
  while (rest % 2 == 0) factors[count++] = 2, rest /= 2;
  while (rest % 3 == 0) factors[count++] = 3, rest /= 3;
  for (int64_t c = 5; c * c <= rest; c += 6) {
    while (rest % c == 0) factors[count++] = c, rest /= c;
    while (rest % (c + 2) == 0) factors[count++] = c + 2, rest /= c + 2;
  }
  if (rest > 1) factors[count++] = rest;
  int64_t a = 1, b = 1;
  for (int i = count - 1; i >= 0; --i) {
    if (b < a || a * factors[i] > t) b *= factors[i];
    else a *= factors[i];
  }
  return a < b ? a : b;
}

// exp(-2 pi i k / n), 0 <= k < n, in double: the angle folded to at most
// pi / 2 before cos and sin, then stored in the element type.
template <class R>
cplx<R> root_of(int64_t k, int64_t n) {
  const double pi = 3.14159265358979323846;
  const int64_t r = 2 * k > n ? k - n : k;  // angle 2 pi r / n, |r| <= n / 2
  const int64_t a = r < 0 ? -r : r;
  const bool past_right = 4 * a > n;       // cos(pi - x) = -cos x
  const double x = past_right ? pi * double(n - 2 * a) / double(n) : 2 * pi * double(a) / double(n);
  const double c = past_right ? -std::cos(x) : std::cos(x), s = std::sin(x);
  return {R(c), R(r < 0 ? s : -s)};
}

const DftFourStep *state_of(const DftNode *node) {
  return static_cast<const DftFourStep *>(node->four_step_state);
}

template <class R>
dft_axis_kernel child_kernel(const DftNode *child, bool forward) {
  return child->kernels[kernel_slot<R>(forward, false)];
}

int64_t free_state(DftNode *node) {
  auto *st = static_cast<DftFourStep *>(node->four_step_state);
  if (st) {
    if (st->col_node && st->col_node != st->row_node) st->col_node->destroy(st->col_node);
    if (st->row_node) st->row_node->destroy(st->row_node);
    node_free(st->twiddles);
    node_free(st);
  }
  node->four_step_state = nullptr;
  node->four_step_free = nullptr;
  return DFT_NO_ERROR;
}

// A child of m points: one thread, committed, its workspace given back (the
// parent hands it a share of its own).
template <class R>
int64_t make_child(int64_t m, DftNode **child) {
  int64_t s = sizeof(R) == 8 ? zor_dft_dfti_create_dc1d(child, m) : zor_dft_dfti_create_sc1d(child, m);
  if (s) return s;
  DftNode *c = *child;
  c->thread_limit = 1;
  c->flags |= DFT_FLAG_CHILD_NODE;
  if ((s = c->ops->commit(c))) return s;
  node_free(c->workspace);
  c->workspace = nullptr;
  if (c->four_step_state) static_cast<DftFourStep *>(c->four_step_state)->transpose_mode = 0;
  return DFT_NO_ERROR;
}

// body(share) with the caller's workspace share, or one taken for the call.
template <class Body>
int64_t with_share(const DftNode *node, void *workspace, Body &&body) {
  const auto *st = static_cast<const DftFourStep *>(node->four_step_state);
  frame::PooledBuffer own(workspace ? nullptr : zor_serv_allocate(uint64_t(st->work_size), kAlign));
  char *ws = static_cast<char *>(workspace ? workspace : own.get());
  return ws ? body(ws) : int64_t(DFT_MEMORY_ERROR);
}

// ---------------------------------------------------------------- pieces

// The twiddle first * second, and x times it (forward) or its conjugate
// (backward).
inline cplx<double> product(const cplx<double> &a, const cplx<double> &b) {
  cplx<double> out;
  _mm_storeu_pd(&out.re, simd::cmul(_mm_loadu_pd(&a.re), _mm_loadu_pd(&b.re)));
  return out;
}
inline cplx<float> product(const cplx<float> &a, const cplx<float> &b) { return a * b; }

template <bool Fwd>
inline void turn(const cplx<double> &x, const cplx<double> &w, cplx<double> *out) {
  const simd::f64x2 v = _mm_loadu_pd(&x.re), t = _mm_load_pd(&w.re);
  _mm_storeu_pd(&out->re, Fwd ? simd::cmul(t, v) : simd::cmulc(t, v));
}
template <bool Fwd>
inline void turn(const cplx<float> &x, const cplx<float> &w, cplx<float> *out) {
  *out = Fwd ? w * x : conj(w) * x;
}

template <class R, bool Fwd>
int64_t step_1_2(DftNode *node, int64_t first, int64_t count, const cplx<R> *in, int64_t line_step,
                 int64_t point_step, cplx<R> *out, int64_t pitch, char *ws) {
  using E = cplx<R>;
  const DftFourStep *st = state_of(node);
  const int64_t m1 = st->rows, rp = st->row_pitch, mask = st->twiddle_count - 1;
  const int shift = st->twiddle_log2;
  const E *lo = static_cast<const E *>(st->twiddles), *hi = lo + st->twiddle_count;
  DftNode *child = st->row_node;
  const dft_axis_kernel k = child_kernel<R>(child, Fwd);
  E *buf = reinterpret_cast<E *>(ws + st->child_work);
  for (int64_t g = first; g < first + count; g += kGroup) {
    const int64_t lines = first + count - g < kGroup ? first + count - g : kGroup;
    if (point_step == 1) {
      for (int64_t l = 0; l < lines; ++l) std::memcpy(buf + l * rp, in + (g + l) * line_step, size_t(m1) * sizeof(E));
    } else {
      for (int64_t j1 = 0; j1 < m1; ++j1) {
        const E *p = in + g * line_step + j1 * point_step;
        for (int64_t l = 0; l < lines; ++l) buf[l * rp + j1] = p[l * line_step];
      }
    }
    for (int64_t l = 0; l < lines; ++l)
      if (int64_t s = k(buf + l * rp, buf + l * rp, child, ws)) return s;
    // Point by point across the group: the run of w^(j2 k1) of its lines at
    // one k1 is formed on the stack, then applied.
    alignas(kAlign) E run[kGroup];
    for (int64_t k1 = 0; k1 < m1; ++k1) {
      for (int64_t l = 0, j = g * k1; l < lines; ++l, j += k1) run[l] = product(lo[j & mask], hi[j >> shift]);
      for (int64_t l = 0; l < lines; ++l) turn<Fwd>(buf[l * rp + k1], run[l], out + (g + l) * pitch + k1);
    }
  }
  return DFT_NO_ERROR;
}

template <class R>
void transposing_copy(int64_t rows, int64_t cols, const cplx<R> *a, int64_t lda, cplx<R> *b, int64_t ldb) {
  if constexpr (sizeof(R) == 8) {
    const zor_complex16 one = {1.0, 0.0};
    zor_trans_zor_zomatcopy('C', 'T', uint64_t(rows), uint64_t(cols), &one, reinterpret_cast<const zor_complex16 *>(a),
                            uint64_t(lda), reinterpret_cast<zor_complex16 *>(b), uint64_t(ldb));
  } else {
    const zor_complex8 one = {1.0f, 0.0f};
    zor_trans_zor_comatcopy('C', 'T', uint64_t(rows), uint64_t(cols), one, reinterpret_cast<const zor_complex8 *>(a),
                            uint64_t(lda), reinterpret_cast<zor_complex8 *>(b), uint64_t(ldb));
  }
}

template <class R>
void transpose_in_place(int64_t rows, int64_t cols, cplx<R> *ab) {
  if constexpr (sizeof(R) == 8) {
    const zor_complex16 one = {1.0, 0.0};
    zor_trans_zor_zimatcopy('C', 'T', uint64_t(rows), uint64_t(cols), &one, reinterpret_cast<zor_complex16 *>(ab),
                            uint64_t(rows), uint64_t(cols));
  } else {
    const zor_complex8 one = {1.0f, 0.0f};
    zor_trans_zor_cimatcopy('C', 'T', uint64_t(rows), uint64_t(cols), one, reinterpret_cast<zor_complex8 *>(ab),
                            uint64_t(rows), uint64_t(cols));
  }
}

// Step 4: out[i + k out_step] = scale in[i pitch + k], in blocks of Lines
// lines by 8 points.
template <class R, bool Scaled>
void step_4(int64_t lines, const cplx<R> *in, int64_t pitch, cplx<R> *out, int64_t length, int64_t out_step,
            R scale) {
  constexpr int64_t kLines = sizeof(R) == 8 ? 8 : 16, kPoints = 8;
  for (int64_t i0 = 0; i0 < lines; i0 += kLines) {
    const int64_t il = lines - i0 < kLines ? lines - i0 : kLines;
    for (int64_t k0 = 0; k0 < length; k0 += kPoints) {
      const int64_t kl = length - k0 < kPoints ? length - k0 : kPoints;
      for (int64_t k = k0; k < k0 + kl; ++k) {
        cplx<R> *o = out + i0 + k * out_step;
        const cplx<R> *p = in + i0 * pitch + k;
        for (int64_t i = 0; i < il; ++i) o[i] = Scaled ? scale * p[i * pitch] : p[i * pitch];
      }
    }
  }
}

template <class R, bool Fwd>
int64_t step_3(DftNode *node, int64_t first, int64_t count, const cplx<R> *in, int64_t in_pitch, cplx<R> *out,
               char *ws) {
  using E = cplx<R>;
  const DftFourStep *st = state_of(node);
  const int64_t m1 = st->rows, m2 = st->cols, cp = st->col_pitch;
  DftNode *child = st->col_node;
  const dft_axis_kernel k = child_kernel<R>(child, Fwd);
  const R scale = kernel_scale<R>(node, Fwd);
  E *buf = reinterpret_cast<E *>(ws + st->child_work);
  for (int64_t c = first; c < first + count; c += kBlock) {
    const int64_t lines = first + count - c < kBlock ? first + count - c : kBlock;
    transposing_copy<R>(lines, m2, in + c, in_pitch, buf, cp);
    for (int64_t l = 0; l < lines; ++l)
      if (int64_t s = k(buf + l * cp, buf + l * cp, child, ws)) return s;
    if (scale == R(1)) step_4<R, false>(lines, buf, cp, out + c, m2, m1, scale);
    else step_4<R, true>(lines, buf, cp, out + c, m2, m1, scale);
  }
  return DFT_NO_ERROR;
}

}  // namespace

// ---------------------------------------------------------------- setup

template <class R>
int64_t four_step_setup(DftNode *node, DftNode *root) {
  using E = cplx<R>;
  const int64_t n = node->length;
  const int64_t factor = split_factor(n, node->length_log2);
  if (factor <= 1) return DFT_NO_TWO_FACTOR_SPLIT;
  auto fail = [&](int64_t status) {
    free_state(node);
    root->uncommit(root);
    return status;
  };
  auto *st = static_cast<DftFourStep *>(node_calloc(sizeof(DftFourStep), 16));
  if (!st) return fail(DFT_MEMORY_ERROR);
  if (node->four_step_state && node->four_step_free) node->four_step_free(node);
  node->four_step_state = st;
  node->four_step_free = free_state;
  const int64_t other = n / factor;
  st->rows = factor < other ? factor : other;
  st->cols = factor < other ? other : factor;
  st->row_pitch = pitch_of(st->rows, sizeof(E));
  st->col_pitch = pitch_of(st->cols, sizeof(E));
  st->transpose_mode = node->force_four_step;

  st->twiddle_log2 = int32_t(floor_log2(n) / 2 + 1);
  const int64_t T = st->twiddle_count = int64_t(1) << st->twiddle_log2;
  E *tw = static_cast<E *>(node_alloc(uint64_t(2 * T) * sizeof(E), kAlign));
  if (!tw) return fail(DFT_MEMORY_ERROR);
  st->twiddles = tw;
  for (int64_t k = 0; k < T; ++k) {
    tw[k] = root_of<R>(k % n, n);
    tw[T + k] = root_of<R>(k * T % n, n);
  }

  if (int64_t s = make_child<R>(st->rows, &st->row_node)) return fail(s);
  st->col_node = st->row_node;
  if (st->cols != st->rows)
    if (int64_t s = make_child<R>(st->cols, &st->col_node)) return fail(s);
  int64_t child_work = st->row_node->max_work_size;
  if (st->col_node->max_work_size > child_work) child_work = st->col_node->max_work_size;
  st->child_work = round_up(child_work, kAlign);
  const int64_t group = (st->cols < kGroup ? st->cols : kGroup) * st->row_pitch;
  const int64_t block = (st->rows < kBlock ? st->rows : kBlock) * st->col_pitch;
  st->work_size = st->child_work + round_up((group > block ? group : block) * int64_t(sizeof(E)), kAlign);
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- the axis kernel

template <class R, bool Fwd>
int64_t four_step_kernel(void *in, void *out, DftNode *node, void *workspace) {
  using E = cplx<R>;
  const DftFourStep *st = state_of(node);
  const int64_t m1 = st->rows, m2 = st->cols;
  E *x = static_cast<E *>(in), *y = static_cast<E *>(out);
  const int32_t mode = st->transpose_mode;
  return with_share(node, workspace, [&](char *ws) {
    // Where step 1 reads, and where the lines of step 2 go.
    const E *src = x;
    int64_t line_step = 1, point_step = m2;
    E *lines = y;
    int64_t pitch = m1;
    frame::PooledBuffer scratch(mode == 0 ? zor_serv_allocate(uint64_t(m2 * st->row_pitch) * sizeof(E), kAlign)
                                          : nullptr);
    if (mode == 0) {
      if (!scratch.get()) return int64_t(DFT_MEMORY_ERROR);
      lines = static_cast<E *>(scratch.get());
      pitch = st->row_pitch;
    } else if (x == y || mode == -1) {
      if (x == y) transpose_in_place<R>(m2, m1, y);
      else transposing_copy<R>(m2, m1, x, m2, y, m1);
      src = y, line_step = m1, point_step = 1;
    }
    if (int64_t s = step_1_2<R, Fwd>(node, 0, m2, src, line_step, point_step, lines, pitch, ws)) return s;
    return step_3<R, Fwd>(node, 0, m1, lines, pitch, y, ws);
  });
}

#define ZOR_FOUR_STEP_INSTANCES(R)                                                    \
  template int64_t four_step_setup<R>(DftNode *, DftNode *);                          \
  template int64_t four_step_kernel<R, true>(void *, void *, DftNode *, void *);      \
  template int64_t four_step_kernel<R, false>(void *, void *, DftNode *, void *);
ZOR_FOUR_STEP_INSTANCES(double)
ZOR_FOUR_STEP_INSTANCES(float)
#undef ZOR_FOUR_STEP_INSTANCES

// ---------------------------------------------------------------- exports

namespace {

template <class R>
int64_t export_1_2(DftNode *node, int64_t first, int64_t count, const void *in, int64_t line_step, int64_t point_step,
                   void *out, int64_t pitch, void *workspace, int32_t forward) {
  auto *i = static_cast<const cplx<R> *>(in);
  auto *o = static_cast<cplx<R> *>(out);
  return with_share(node, workspace, [&](char *ws) {
    return forward ? step_1_2<R, true>(node, first, count, i, line_step, point_step, o, pitch, ws)
                   : step_1_2<R, false>(node, first, count, i, line_step, point_step, o, pitch, ws);
  });
}

template <class R>
int64_t export_3(DftNode *node, int64_t first, int64_t count, const void *in, int64_t in_pitch, void *out,
                 void *workspace, int32_t forward) {
  auto *i = static_cast<const cplx<R> *>(in);
  auto *o = static_cast<cplx<R> *>(out);
  return with_share(node, workspace, [&](char *ws) {
    return forward ? step_3<R, true>(node, first, count, i, in_pitch, o, ws)
                   : step_3<R, false>(node, first, count, i, in_pitch, o, ws);
  });
}

}  // namespace

}  // namespace zor::dft

using namespace zor::dft;
using zor::cplx;

ZOR_API int64_t zor_dft_xz_init_data_1d_via_2d(DftNode *node, DftNode *root) {
  return four_step_setup<double>(node, root);
}
ZOR_API int64_t zor_dft_xc_init_data_1d_via_2d(DftNode *node, DftNode *root) {
  return four_step_setup<float>(node, root);
}
ZOR_API int64_t zor_dft_xz_4step_1_2(DftNode *node, int64_t first, int64_t count, const void *in, int64_t line_step,
                                     int64_t point_step, void *out, int64_t pitch, void *workspace, int32_t forward) {
  return export_1_2<double>(node, first, count, in, line_step, point_step, out, pitch, workspace, forward);
}
ZOR_API int64_t zor_dft_xc_4step_1_2(DftNode *node, int64_t first, int64_t count, const void *in, int64_t line_step,
                                     int64_t point_step, void *out, int64_t pitch, void *workspace, int32_t forward) {
  return export_1_2<float>(node, first, count, in, line_step, point_step, out, pitch, workspace, forward);
}
ZOR_API int64_t zor_dft_xz_4step_3(DftNode *node, int64_t first, int64_t count, const void *in, int64_t in_pitch,
                                   void *out, void *workspace, int32_t forward) {
  return export_3<double>(node, first, count, in, in_pitch, out, workspace, forward);
}
ZOR_API int64_t zor_dft_xc_4step_3(DftNode *node, int64_t first, int64_t count, const void *in, int64_t in_pitch,
                                   void *out, void *workspace, int32_t forward) {
  return export_3<float>(node, first, count, in, in_pitch, out, workspace, forward);
}
ZOR_API int64_t zor_dft_xz_4step_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                   int64_t out_step) {
  step_4<double, false>(lines, static_cast<const cplx<double> *>(in), pitch, static_cast<cplx<double> *>(out), length,
                        out_step, 1.0);
  return DFT_NO_ERROR;
}
ZOR_API int64_t zor_dft_xc_4step_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                   int64_t out_step) {
  step_4<float, false>(lines, static_cast<const cplx<float> *>(in), pitch, static_cast<cplx<float> *>(out), length,
                       out_step, 1.0f);
  return DFT_NO_ERROR;
}
ZOR_API int64_t zor_dft_xz_4step_scale_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                         int64_t out_step, double scale) {
  step_4<double, true>(lines, static_cast<const cplx<double> *>(in), pitch, static_cast<cplx<double> *>(out), length,
                       out_step, scale);
  return DFT_NO_ERROR;
}
ZOR_API int64_t zor_dft_xc_4step_scale_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                         int64_t out_step, float scale) {
  step_4<float, true>(lines, static_cast<const cplx<float> *>(in), pitch, static_cast<cplx<float> *>(out), length,
                      out_step, scale);
  return DFT_NO_ERROR;
}
