# ZGEMM, CGEMM and ZGEMM3M against OpenBLAS.
add_executable(bench_gemm_complex gemm_complex_bench.cpp)
target_link_libraries(bench_gemm_complex PRIVATE zor_bench_common)
target_compile_definitions(bench_gemm_complex PRIVATE ZOR_OPENBLAS_SERIAL="${ZOR_OPENBLAS_SERIAL}")
