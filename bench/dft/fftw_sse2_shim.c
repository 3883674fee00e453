/* Preloaded before FFTW, this answers "no" when FFTW's planner asks whether
   the processor has AVX, so that FFTW plans with its SSE2 codelets only. */
int fftw_have_simd_avx(void) { return 0; }
int fftwf_have_simd_avx(void) { return 0; }
int fftw_have_simd_avx2(void) { return 0; }
int fftwf_have_simd_avx2(void) { return 0; }
int fftw_have_simd_avx2_128(void) { return 0; }
int fftwf_have_simd_avx2_128(void) { return 0; }
int fftw_have_simd_avx512(void) { return 0; }
int fftwf_have_simd_avx512(void) { return 0; }
