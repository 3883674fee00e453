// Real plans: an even length as a complex transform of half the points and
// one sweep that splits the spectra of the even and odd samples; an odd or
// short length as a complex transform of the whole line. One body per
// precision; the layouts are rearrangements of the perm form at the end
// (forward) or the start (backward).
//
// With z[m] = x[2m] + i x[2m+1] and Z its transform of h = n/2 points, the
// spectrum of x is X[k] = E + w^k O with E = (Z[k] + conj Z[h-k]) / 2,
// O = -i (Z[k] - conj Z[h-k]) / 2 and w = exp(-2 pi i / n); the partner
// X[h-k] = conj(E - w^k O) comes from the same pair. Backward reverses it:
// z[k] = (X[k] + conj X[h-k]) + i conj(w^k) (X[k] - conj X[h-k]), then the
// complex backward transform of h points gives x[2m] + i x[2m+1].
#include <cstring>

#include "dft/cvec.hpp"
#include "dft/plan.hpp"

namespace zor::dft {
namespace {

enum class Layout { ccs, pack, perm };

constexpr int32_t kSmallReal = 17;

template <class R>
R *aligned_up(void *p) {
  auto a = (reinterpret_cast<uintptr_t>(p) + 31) & ~uintptr_t(31);
  return reinterpret_cast<R *>(a);
}

template <class R>
int32_t create_real(DftPlan **out, int64_t n, int32_t mode, int32_t hint, int32_t tag) {
  if (!out) return DFT_PLAN_NULL_POINTER;
  if (n < 1) return DFT_PLAN_BAD_SIZE;
  if (mode != DFT_SCALE_FORWARD && mode != DFT_SCALE_BACKWARD && mode != DFT_SCALE_SQRT_BOTH &&
      mode != DFT_SCALE_NONE)
    return DFT_PLAN_BAD_FLAG;
  const bool pow2 = (n & (n - 1)) == 0;
  if (pow2 && n > (int64_t(1) << 27)) return DFT_PLAN_BAD_ORDER;
  if (!pow2 && n >= 0x4000000) return DFT_PLAN_BAD_SIZE;
  auto *p = static_cast<DftPlan *>(plan_alloc(sizeof(DftPlan)));
  if (!p) return DFT_PLAN_NO_MEMORY;
  std::memset(p, 0, sizeof *p);
  p->tag = tag;
  p->length = int32_t(n);
  p->hint = hint;
  p->precision = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  p->scale_forward = mode == DFT_SCALE_FORWARD || mode == DFT_SCALE_SQRT_BOTH;
  p->scale_backward = mode == DFT_SCALE_BACKWARD || mode == DFT_SCALE_SQRT_BOTH;
  p->scale = mode == DFT_SCALE_SQRT_BOTH ? 1.0 / __builtin_sqrt(double(n))
             : mode == DFT_SCALE_NONE    ? 0.0
                                         : 1.0 / double(n);
  int32_t s = DFT_PLAN_OK;
  if (n < kSmallReal) {
    p->work_size = 0;
  } else if (pow2 && tag == DFT_PLAN_TAG_REAL) {
    p->uses_fft = 1;
    s = create_real<R>(&p->fft, n, DFT_SCALE_NONE, hint, DFT_PLAN_TAG_POW2_REAL);
    if (!s) p->work_size = p->fft->work_size;
  } else if (n % 2 == 0) {
    const int64_t h = n / 2, half = h / 2 + 1;
    p->uses_fft = pow2;
    s = plan_create_ordered<R>(&p->sub_plan, h, DFT_SCALE_NONE, hint);
    auto *c = static_cast<R *>(plan_alloc(int64_t(sizeof(R)) * half));
    auto *sn = static_cast<R *>(plan_alloc(int64_t(sizeof(R)) * half));
    p->half_cos = c, p->half_sin = sn;
    RootTable root(n);
    if (!s && (!c || !sn || !root.ok())) s = DFT_PLAN_NO_MEMORY;
    if (!s) {
      for (int64_t k = 0; k < half; ++k) {
        cplx<double> w = root(k);  // cos, -sin
        c[k] = R(0.5 * w.re);
        sn[k] = R(-0.5 * w.im);
      }
      p->work_size = p->sub_plan->work_size;
    }
  } else {
    s = plan_create_ordered<R>(&p->sub_plan, n, DFT_SCALE_NONE, hint);
    if (!s) {
      p->real_path = 1;
      p->work_size = int32_t(int64_t(sizeof(cplx<R>)) * n + 64 + p->sub_plan->work_size);
    }
  }
  if (s) {
    plan_destroy(p);
    return s;
  }
  *out = p;
  return DFT_PLAN_OK;
}

// ---------------------------------------------------------------- the perm form

// A short or odd line as a complex transform of all its points in `buf`
// (n complex values), the half spectrum written in perm form.
template <class R>
int32_t forward_whole(const R *in, R *out, const DftPlan *p, cplx<R> *buf, void *sub_work) {
  const int64_t n = p->length;
  for (int64_t j = 0; j < n; ++j) buf[j] = {in[j], R(0)};
  if (n < kSmallReal) small_kernel<R>(n, true, false)(buf, buf, R(1));
  else if (int32_t s = plan_forward<R>(buf, buf, p->sub_plan, sub_work)) return s;
  out[0] = buf[0].re;
  const int64_t odd = n & 1, pairs = (n - 1) / 2;
  if (!odd) out[1] = buf[n / 2].re;
  for (int64_t k = 1; k <= pairs; ++k) out[2 * k - odd] = buf[k].re, out[2 * k + 1 - odd] = buf[k].im;
  return DFT_PLAN_OK;
}

template <class R>
int32_t backward_whole(R *out, const DftPlan *p, cplx<R> *buf, void *sub_work) {
  const int64_t n = p->length;
  const int64_t odd = n & 1, pairs = (n - 1) / 2;
  buf[0] = {out[0], R(0)};
  if (!odd) buf[n / 2] = {out[1], R(0)};
  for (int64_t k = 1; k <= pairs; ++k) {
    buf[k] = {out[2 * k - odd], out[2 * k + 1 - odd]};
    buf[n - k] = conj(buf[k]);
  }
  if (n < kSmallReal) small_kernel<R>(n, false, false)(buf, buf, R(1));
  else if (int32_t s = plan_backward<R>(buf, buf, p->sub_plan, sub_work)) return s;
  for (int64_t j = 0; j < n; ++j) out[j] = buf[j].re;
  return DFT_PLAN_OK;
}

// The sweeps hold one complex value per register; the pair k, h - k shares
// its loads and its table entries.
template <class R>
void split_spectra(cplx<R> *z, int64_t h, const R *c, const R *s) {
  using CV = Narrow<R>;
  const cplx<R> z0 = z[0];
  z[0] = {z0.re + z0.im, z0.re - z0.im};
  const auto half = CV::splat(R(0.5));
  int64_t k = 1, j = h - 1;
  for (; k < j; ++k, --j) {
    const auto a = CV::load(z + k), b = simd::conj(CV::load(z + j));
    const auto e = simd::mul(simd::add(a, b), half), d = simd::sub(a, b);
    // w^k O = (c - i s)(d.im - i d.re), the halves in the table
    const auto t = simd::sub(simd::mul(simd::conj(simd::flip_copy(d)), CV::splat(c[k])), simd::mul(d, CV::splat(s[k])));
    CV::store(z + k, simd::add(e, t));
    CV::store(z + j, simd::conj(simd::sub(e, t)));
  }
  if (k == j) z[k] = conj(z[k]);
}

template <class R>
void join_spectra(cplx<R> *z, int64_t h, const R *c, const R *s) {
  using CV = Narrow<R>;
  const cplx<R> z0 = z[0];
  z[0] = {z0.re + z0.im, z0.re - z0.im};
  int64_t k = 1, j = h - 1;
  for (; k < j; ++k, --j) {
    const auto a = CV::load(z + k), b = simd::conj(CV::load(z + j));
    const auto e = simd::add(a, b), d = simd::sub(a, b);
    // i conj(w^k) d = i (c + i s) d, with the doubled halves of the table
    const auto t = simd::sub(simd::mul(simd::xor_(simd::flip_copy(d), CV::mask_re()), CV::splat(2 * c[k])),
                             simd::mul(d, CV::splat(2 * s[k])));
    CV::store(z + k, simd::add(e, t));
    CV::store(z + j, simd::conj(simd::sub(e, t)));
  }
  if (k == j) z[k] = R(2) * conj(z[k]);
}

// The unscaled forward transform into perm form, n values at out.
template <class R>
int32_t perm_forward(const R *in, R *out, const DftPlan *p, void *work) {
  const int64_t n = p->length;
  if (p->uses_fft && p->fft) return perm_forward<R>(in, out, p->fft, work);
  if (n < kSmallReal) {
    cplx<R> buf[kSmallReal];
    return forward_whole<R>(in, out, p, buf, nullptr);
  }
  if (n & 1) {
    auto *buf = aligned_up<cplx<R>>(work);
    return forward_whole<R>(in, out, p, buf, aligned_up<char>(buf + n));
  }
  auto *z = reinterpret_cast<cplx<R> *>(out);
  if (int32_t s = plan_forward<R>(reinterpret_cast<const cplx<R> *>(in), z, p->sub_plan, work)) return s;
  split_spectra<R>(z, n / 2, static_cast<const R *>(p->half_cos), static_cast<const R *>(p->half_sin));
  return DFT_PLAN_OK;
}

// The unscaled backward transform of the perm form held at out, in place.
template <class R>
int32_t perm_backward(R *out, const DftPlan *p, void *work) {
  const int64_t n = p->length;
  if (p->uses_fft && p->fft) return perm_backward<R>(out, p->fft, work);
  if (n < kSmallReal) {
    cplx<R> buf[kSmallReal];
    return backward_whole<R>(out, p, buf, nullptr);
  }
  if (n & 1) {
    auto *buf = aligned_up<cplx<R>>(work);
    return backward_whole<R>(out, p, buf, aligned_up<char>(buf + n));
  }
  auto *z = reinterpret_cast<cplx<R> *>(out);
  join_spectra<R>(z, n / 2, static_cast<const R *>(p->half_cos), static_cast<const R *>(p->half_sin));
  return plan_backward<R>(z, z, p->sub_plan, work);
}

template <class R>
void scale_values(R *x, int64_t count, R s) {
  for (int64_t k = 0; k < count; ++k) x[k] *= s;
}

// ---------------------------------------------------------------- layouts

template <class R>
void perm_to(Layout l, R *out, int64_t n) {
  if (l == Layout::perm) return;
  if (n % 2 == 0) {
    const R top = out[1];
    if (l == Layout::ccs) {
      out[1] = 0;
      out[n] = top;
      out[n + 1] = 0;
    } else {
      std::memmove(out + 1, out + 2, sizeof(R) * size_t(n - 2));
      out[n - 1] = top;
    }
  } else if (l == Layout::ccs) {
    std::memmove(out + 2, out + 1, sizeof(R) * size_t(n - 1));
    out[1] = 0;
  }
}

template <class R>
void perm_from(Layout l, const R *in, R *out, int64_t n) {
  const R first = in[0];
  if (l == Layout::perm || (l == Layout::pack && n % 2 == 1)) {
    if (in != out) std::memcpy(out, in, sizeof(R) * size_t(n));
  } else if (n % 2 == 1) {  // ccs
    std::memmove(out + 1, in + 2, sizeof(R) * size_t(n - 1));
    out[0] = first;
  } else {
    const R top = l == Layout::ccs ? in[n] : in[n - 1];
    if (n > 2) std::memmove(out + 2, in + (l == Layout::ccs ? 2 : 1), sizeof(R) * size_t(n - 2));
    out[0] = first;
    out[1] = top;
  }
}

// A workspace of the plan's size for this call when the caller gave none.
struct CallWork {
  void *own = nullptr;
  void *work;
  CallWork(const DftPlan *p, void *given) : work(given) {
    if (!given && p->work_size > 0) work = own = plan_alloc(p->work_size);
  }
  ~CallWork() { plan_free(own); }
  bool failed(const DftPlan *p) const { return p->work_size > 0 && !work; }
};

template <class R>
int32_t real_forward(const R *in, R *out, const DftPlan *p, void *workspace, Layout l, int32_t tag) {
  if (!p || !in || !out) return DFT_PLAN_NULL_POINTER;
  if (p->tag != tag) return DFT_PLAN_WRONG_TAG;
  CallWork w(p, workspace);
  if (w.failed(p)) return DFT_PLAN_NO_MEMORY;
  if (int32_t s = perm_forward<R>(in, out, p, w.work)) return s;
  if (p->scale_forward) scale_values(out, p->length, R(p->scale));
  perm_to<R>(l, out, p->length);
  return DFT_PLAN_OK;
}

template <class R>
int32_t real_backward(const R *in, R *out, const DftPlan *p, void *workspace, Layout l, int32_t tag) {
  if (!p || !in || !out) return DFT_PLAN_NULL_POINTER;
  if (p->tag != tag) return DFT_PLAN_WRONG_TAG;
  CallWork w(p, workspace);
  if (w.failed(p)) return DFT_PLAN_NO_MEMORY;
  perm_from<R>(l, in, out, p->length);
  if (int32_t s = perm_backward<R>(out, p, w.work)) return s;
  if (p->scale_backward) scale_values(out, p->length, R(p->scale));
  return DFT_PLAN_OK;
}

}  // namespace

template <class R>
int32_t plan_create_real(DftPlan **out, int64_t n, int32_t mode, int32_t hint) {
  return create_real<R>(out, n, mode, hint, DFT_PLAN_TAG_REAL);
}

template <class R>
int32_t real_pow2_create(DftPlan **out, int32_t order) {
  if (order < 0) return DFT_PLAN_BAD_SIZE;
  if (order > 27) return DFT_PLAN_BAD_ORDER;
  return create_real<R>(out, int64_t(1) << order, DFT_SCALE_BACKWARD, 0, DFT_PLAN_TAG_POW2_REAL);
}

#define ZOR_DFT_REAL_ROUTINES(name, body, layout, tag)                                \
  template <class R>                                                                  \
  int32_t name(const R *in, R *out, const DftPlan *plan, void *workspace) {           \
    return body<R>(in, out, plan, workspace, Layout::layout, tag);                    \
  }
ZOR_DFT_REAL_ROUTINES(plan_ccs_forward, real_forward, ccs, DFT_PLAN_TAG_REAL)
ZOR_DFT_REAL_ROUTINES(plan_ccs_backward, real_backward, ccs, DFT_PLAN_TAG_REAL)
ZOR_DFT_REAL_ROUTINES(plan_pack_forward, real_forward, pack, DFT_PLAN_TAG_REAL)
ZOR_DFT_REAL_ROUTINES(plan_pack_backward, real_backward, pack, DFT_PLAN_TAG_REAL)
ZOR_DFT_REAL_ROUTINES(plan_perm_forward, real_forward, perm, DFT_PLAN_TAG_REAL)
ZOR_DFT_REAL_ROUTINES(plan_perm_backward, real_backward, perm, DFT_PLAN_TAG_REAL)
ZOR_DFT_REAL_ROUTINES(real_pow2_forward, real_forward, perm, DFT_PLAN_TAG_POW2_REAL)
ZOR_DFT_REAL_ROUTINES(real_pow2_inverse, real_backward, perm, DFT_PLAN_TAG_POW2_REAL)
#undef ZOR_DFT_REAL_ROUTINES

// The sweeps and layouts of an even length for a method that runs the
// complex transform of half the points itself.
template <class R>
void even_split(cplx<R> *z, int64_t h, const R *half_cos, const R *half_sin) {
  split_spectra<R>(z, h, half_cos, half_sin);
}
template <class R>
void even_join(cplx<R> *z, int64_t h, const R *half_cos, const R *half_sin) {
  join_spectra<R>(z, h, half_cos, half_sin);
}
Layout layout_of_format(int32_t format) {
  return format == DFT_PACK_FORMAT ? Layout::pack : format == DFT_PERM_FORMAT ? Layout::perm : Layout::ccs;
}
template <class R>
void perm_to_format(int32_t format, R *out, int64_t n) {
  perm_to<R>(layout_of_format(format), out, n);
}
template <class R>
void perm_from_format(int32_t format, const R *in, R *out, int64_t n) {
  perm_from<R>(layout_of_format(format), in, out, n);
}

#define ZOR_DFT_REAL_INSTANCES(R)                                                    \
  template int32_t plan_create_real<R>(DftPlan **, int64_t, int32_t, int32_t);       \
  template int32_t real_pow2_create<R>(DftPlan **, int32_t);                         \
  template int32_t plan_ccs_forward<R>(const R *, R *, const DftPlan *, void *);     \
  template int32_t plan_ccs_backward<R>(const R *, R *, const DftPlan *, void *);    \
  template int32_t plan_pack_forward<R>(const R *, R *, const DftPlan *, void *);    \
  template int32_t plan_pack_backward<R>(const R *, R *, const DftPlan *, void *);   \
  template int32_t plan_perm_forward<R>(const R *, R *, const DftPlan *, void *);    \
  template int32_t plan_perm_backward<R>(const R *, R *, const DftPlan *, void *);   \
  template int32_t real_pow2_forward<R>(const R *, R *, const DftPlan *, void *);    \
  template int32_t real_pow2_inverse<R>(const R *, R *, const DftPlan *, void *);    \
  template void even_split<R>(cplx<R> *, int64_t, const R *, const R *);              \
  template void even_join<R>(cplx<R> *, int64_t, const R *, const R *);               \
  template void perm_to_format<R>(int32_t, R *, int64_t);                             \
  template void perm_from_format<R>(int32_t, const R *, R *, int64_t);
ZOR_DFT_REAL_INSTANCES(float)
ZOR_DFT_REAL_INSTANCES(double)
#undef ZOR_DFT_REAL_INSTANCES

}  // namespace zor::dft
