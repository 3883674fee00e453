// Tier identity, flag comparison, the shared null routine and the
// pass-through exports that must land in the provider.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include <zor/core.h>
#include <zor/serv.h>

namespace {

void *tier_handle() {
  static void *h = dlopen("libzor_tier2.so.2", RTLD_NOW | RTLD_NOLOAD);
  return h;
}
void *provider_handle() {
  static void *h = dlopen("libzor_core.so.2", RTLD_NOW | RTLD_NOLOAD);
  return h;
}

TEST(Identity, TierNumberAndFlags) {
  EXPECT_EQ(dll_cpu_version(), 2);
  EXPECT_EQ(zor_serv_lsame("n", "N"), 1);
  EXPECT_EQ(zor_serv_lsame("N", "n"), 1);
  EXPECT_EQ(zor_serv_lsame("t", "t"), 1);
  EXPECT_EQ(zor_serv_lsame("n", "M"), 0);
  EXPECT_EQ(zor_serv_lsame("[", "{"), 0);  // case mapping is for letters only
  EXPECT_EQ(zor_serv_lsame("@", "`"), 0);
  EXPECT_EQ(zor_serv_lsame("Nonsense", "no"), 1);  // first byte only
}

TEST(Identity, NullExportsShareOneEmptyRoutine) {
  const char *names[] = {"zor_blas_dgemm_blk_info_0_brc", "zor_blas_dgemm_blk_info_1_brc",
                         "zor_blas_dgemm_freebufs",       "zor_blas_dgemm_getbufs",
                         "zor_blas_dgemm_mscale_brc",     "zor_blas_xdgemm0_1_brc",
                         "zor_blas_xdgemm0_brc",          "zor_blas_xdgemm1_1_brc",
                         "zor_blas_xsgemm0_brc"};
  ASSERT_NE(tier_handle(), nullptr);
  void *first = dlsym(tier_handle(), names[0]);
  ASSERT_NE(first, nullptr);
  for (const char *name : names) {
    void *p = dlsym(tier_handle(), name);
    EXPECT_EQ(p, first) << name;
    reinterpret_cast<void (*)()>(p)();
  }
}

// Each pass-through is the tier's own export (not the provider's symbol
// under the same name), and calling it arrives in the provider's body.
TEST(Identity, PassThroughsArriveInTheProvider) {
  ASSERT_NE(provider_handle(), nullptr);
  int64_t zero = 0, one = 1;
  double alpha = 1.0, a = 0.0, b = 0.0;
  struct Call {
    const char *name;
    void (*invoke)(void *, int64_t *, int64_t *, double *, double *, double *);
  };
  auto no_args = [](void *f, int64_t *, int64_t *, double *, double *, double *) {
    reinterpret_cast<void (*)()>(f)();
  };
  auto trmm = [](void *f, int64_t *zero, int64_t *one, double *alpha, double *a, double *b) {
    using Fn = void (*)(const char *, const char *, const char *, const char *, const int64_t *,
                        const int64_t *, const void *, const void *, const int64_t *, void *, const int64_t *);
    reinterpret_cast<Fn>(f)("L", "U", "N", "N", zero, zero, alpha, a, one, b, one);
  };
  // The integer family's stream routines, each with a stream that takes
  // nothing or gives nothing and the integer 0.
  auto gmp_stream = [](void *f, int64_t *, int64_t *, double *, double *, double *) {
    static uint64_t limb = 0;
    static struct { int32_t alloc, size; uint64_t *limbs; } zero = {1, 0, &limb};
    FILE *sink = std::fopen("/dev/null", "r+");
    Dl_info info;
    dladdr(f, &info);
    std::string name = info.dli_sname ? info.dli_sname : "";
    if (name == "zor_gmp___gmp_fprintf") reinterpret_cast<int (*)(FILE *, const char *, ...)>(f)(sink, "");
    if (name == "zor_gmp___gmpz_inp_raw") reinterpret_cast<size_t (*)(void *, FILE *)>(f)(&zero, sink);
    if (name == "zor_gmp___gmpz_inp_str") reinterpret_cast<size_t (*)(void *, FILE *, int)>(f)(&zero, sink, 10);
    if (name == "zor_gmp___gmpz_out_raw") reinterpret_cast<size_t (*)(FILE *, void *)>(f)(sink, &zero);
    if (name == "zor_gmp___gmpz_out_str") reinterpret_cast<size_t (*)(FILE *, int, void *)>(f)(sink, 10, &zero);
    std::fclose(sink);
  };
  const Call calls[] = {
      {"zor_blas_sgemm_getbufs", no_args}, {"zor_blas_sgemm_freebufs", no_args},
      {"zor_blas_xdtrmm_4yfw", trmm},      {"zor_blas_xstrmm_4yfw", trmm},
      {"zor_gmp___gmp_fprintf", gmp_stream},  {"zor_gmp___gmpz_inp_raw", gmp_stream},
      {"zor_gmp___gmpz_inp_str", gmp_stream}, {"zor_gmp___gmpz_out_raw", gmp_stream},
      {"zor_gmp___gmpz_out_str", gmp_stream},
  };
  for (const Call &c : calls) {
    void *in_tier = dlsym(tier_handle(), c.name);
    void *in_provider = dlsym(provider_handle(), c.name);
    ASSERT_NE(in_tier, nullptr) << c.name;
    ASSERT_NE(in_provider, nullptr) << c.name;
    EXPECT_NE(in_tier, in_provider) << c.name << " resolves to the provider's own symbol";
    int64_t before = zor_core_passthrough_hits(c.name);
    c.invoke(in_tier, &zero, &one, &alpha, &a, &b);
    EXPECT_EQ(zor_core_passthrough_hits(c.name), before + 1) << c.name;
  }
  for (const char *name : {"zor_blas_sgemm_get_bufs_size_bvr", "zor_blas_dgemm_get_bufs_size_bvr",
                           "zor_blas_cgemm_get_bufs_size_bvr", "zor_blas_zgemm_get_bufs_size_bvr"}) {
    void *in_tier = dlsym(tier_handle(), name);
    ASSERT_NE(in_tier, nullptr) << name;
    EXPECT_NE(in_tier, dlsym(provider_handle(), name)) << name;
  }
}

}  // namespace
