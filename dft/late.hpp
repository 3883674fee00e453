// The threading layer's functions that the transforms call, each behind a
// late-bound cell (looked up by name on the first call).
#pragma once
#include <zor/dft_tier.h>

#include "dft/compute.hpp"
#include "frame/late_binding.hpp"

namespace zor::dft {

inline frame::LateCell bless_cell{"zor_dft_bless_node_omp"};
inline frame::LateCell commit_node_d_c2c_1d_cell{"zor_dft_commit_node_d_c2c_1d_omp"};
inline frame::LateCell commit_node_s_c2c_1d_cell{"zor_dft_commit_node_s_c2c_1d_omp"};
inline frame::LateCell commit_node_d_r2c_1d_cell{"zor_dft_commit_node_d_r2c_1d_omp"};
inline frame::LateCell commit_node_s_r2c_1d_cell{"zor_dft_commit_node_s_r2c_1d_omp"};
inline frame::LateCell commit_node_d_c2c_md_cell{"zor_dft_commit_node_d_c2c_md_omp"};
inline frame::LateCell commit_node_s_c2c_md_cell{"zor_dft_commit_node_s_c2c_md_omp"};
inline frame::LateCell commit_node_d_r2c_md_cell{"zor_dft_commit_node_d_r2c_md_omp"};
inline frame::LateCell commit_node_s_r2c_md_cell{"zor_dft_commit_node_s_r2c_md_omp"};

inline int64_t bless(DftNode *node) { return frame::call_late<int64_t>(bless_cell, node); }

// The threaded node method: the node goes to this method and to the
// threading layer's commit function in `cell`, which ends in a commit core.
inline int64_t commit_through(DftMethod *m, DftNode *n, frame::LateCell &cell) {
  take(m, n);
  return frame::call_late<int64_t>(cell, n);
}

// The hand-over of a whole task, by precision, direction and placement.
template <class R, bool Fwd, bool Out>
frame::LateCell &compute_par_cell() {
  static frame::LateCell cell{sizeof(R) == 8
                                  ? (Fwd ? (Out ? "zor_dft_compute_forward_z_out_par" : "zor_dft_compute_forward_z_par")
                                         : (Out ? "zor_dft_compute_backward_z_out_par" : "zor_dft_compute_backward_z_par"))
                                  : (Fwd ? (Out ? "zor_dft_compute_forward_c_out_par" : "zor_dft_compute_forward_c_par")
                                         : (Out ? "zor_dft_compute_backward_c_out_par" : "zor_dft_compute_backward_c_par"))};
  return cell;
}

}  // namespace zor::dft
