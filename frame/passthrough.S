/* Exports of the tier whose work is done by zor_core: each is one indirect
   jump, through the global offset table, to the provider's body of the same
   name (zor_core_body_<name>), with the caller's registers and stack as they
   are. The provider exports the same body under the plain name too. */
        .text
.macro PASSTHROUGH name
        .globl \name
        .type \name, @function
        .p2align 4
\name:
        jmp *zor_core_body_\name@GOTPCREL(%rip)
        .size \name, .-\name
.endm

        PASSTHROUGH zor_blas_sgemm_get_bufs_size_bvr
        PASSTHROUGH zor_blas_dgemm_get_bufs_size_bvr
        PASSTHROUGH zor_blas_cgemm_get_bufs_size_bvr
        PASSTHROUGH zor_blas_zgemm_get_bufs_size_bvr
        PASSTHROUGH zor_blas_sgemm_freebufs
        PASSTHROUGH zor_blas_sgemm_getbufs
        PASSTHROUGH zor_blas_xdtrmm_4yfw
        PASSTHROUGH zor_blas_xstrmm_4yfw
        PASSTHROUGH zor_gmp___gmp_fprintf
        PASSTHROUGH zor_gmp___gmpz_inp_raw
        PASSTHROUGH zor_gmp___gmpz_inp_str
        PASSTHROUGH zor_gmp___gmpz_out_raw
        PASSTHROUGH zor_gmp___gmpz_out_str

        .section .note.GNU-stack,"",@progbits
