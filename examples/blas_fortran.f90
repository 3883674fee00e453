! A Fortran program on the BLAS of libzor_blas: C := A B, a complex dot
! product and a norm, checked against what they must be.
program blas_fortran
  implicit none
  double precision :: a(2, 3), b(3, 2), c(2, 2), x(4)
  complex(kind=8) :: u(2), v(2), d
  double precision, external :: dnrm2
  complex(kind=8), external :: zdotc
  a = reshape([1d0, 2d0, 3d0, 4d0, 5d0, 6d0], [2, 3])
  b = reshape([1d0, 0d0, 1d0, 0d0, 1d0, 0d0], [3, 2])
  call dgemm('N', 'N', 2, 2, 3, 1d0, a, 2, b, 3, 0d0, c, 2)
  ! c(:, 1) = a(:, 1) + a(:, 3), c(:, 2) = a(:, 2)
  u = [(1d0, 2d0), (3d0, 0d0)]
  v = [(1d0, 0d0), (0d0, 1d0)]
  d = zdotc(2, u, 1, v, 1)
  x = [3d0, 0d0, 4d0, 0d0]
  print '(a, 4f6.1)', 'C =', c
  print '(a, 2f6.1)', 'conj(u) . v =', d
  print '(a, f6.1)', '|x| =', dnrm2(4, x, 1)
  if (any(c /= reshape([6d0, 8d0, 3d0, 4d0], [2, 2])) .or. d /= (1d0, 1d0) .or. dnrm2(4, x, 1) /= 5d0) stop 1
end program blas_fortran
