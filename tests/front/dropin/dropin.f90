! A Fortran user of the standard BLAS, linked with -lblas alone (built with
! and without link-time optimisation, and with 64-bit integers against
! libblas64): dgemm, zdotc, zdotu and dnrm2 checked, and the file that
! served dgemm_ named.
program dropin
  implicit none
  double precision :: a(2, 3), b(3, 2), c(2, 2), x(4)
  complex(kind=8) :: u(2), v(2), dc, du
  double precision, external :: dnrm2
  complex(kind=8), external :: zdotc, zdotu
  integer :: ok
  a = reshape([1d0, 2d0, 3d0, 4d0, 5d0, 6d0], [2, 3])
  b = reshape([1d0, 0d0, 1d0, 0d0, 1d0, 0d0], [3, 2])
  c = -1d0
  call dgemm('N', 'N', 2, 2, 3, 1d0, a, 2, b, 3, 0d0, c, 2)
  u = [(1d0, 2d0), (3d0, 0d0)]
  v = [(1d0, 0d0), (0d0, 1d0)]
  dc = zdotc(2, u, 1, v, 1)
  du = zdotu(2, u, 1, v, 1)
  x = [3d0, 0d0, 4d0, 0d0]
  print '(a, 4f5.1, a, 2f5.1, a, 2f5.1, a, f5.1)', 'C =', c, ' zdotc =', dc, ' zdotu =', du, ' dnrm2 =', &
    dnrm2(4, x, 1)
  ok = 0
  call served_by_expected(ok)
  if (any(c /= reshape([6d0, 8d0, 3d0, 4d0], [2, 2]))) stop 1
  if (dc /= (1d0, 1d0) .or. du /= (1d0, 5d0)) stop 2
  if (dnrm2(4, x, 1) /= 5d0) stop 3
  if (ok /= 1) stop 4
end program dropin
