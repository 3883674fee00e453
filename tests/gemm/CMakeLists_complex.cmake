# The complex precisions of the GEMM engine, the three-multiplication
# products and the real-by-complex products.
zor_add_test(gemm_complex LABEL gemm SOURCES gemm_complex_test.cpp ORACLE LIBS qalloc ENV ${ZOR_QALLOC_ENV})
zor_add_test(gemm_3m LABEL gemm SOURCES gemm3m_test.cpp LIBS qalloc ENV ${ZOR_QALLOC_ENV})
zor_add_test(gemm_mixed LABEL gemm SOURCES gemm_mixed_test.cpp ORACLE LIBS qalloc ENV ${ZOR_QALLOC_ENV})
