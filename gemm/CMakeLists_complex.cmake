# The complex precisions of the GEMM engine: tables, panel copies,
# micro-kernels and driver instantiations.
target_sources(zor_tier2 PRIVATE
  tables_c.cpp tables_z.cpp
  copy_complex.cpp
  kernel_complex_row0.cpp kernel_complex_row1.cpp kernel_complex_entry.cpp
  drivers_complex.cpp
  gemm3m.cpp
  mixed_real_complex.cpp)
