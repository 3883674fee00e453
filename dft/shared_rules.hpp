// Rules in one body for the tier's internal entries and the provider's
// public front: the parameter setter, and the catalogue number of a status.
//
// The setter: the node loses its committed state before the parameter is
// read, so a refused value still uncommits, and so does the accepted and
// ignored workspace setting. Values of the node's own fields go to the root
// and to every node of its axis chain; counts and distances go through the
// node's operations.
#pragma once
#include <cstdint>

#include <zor/dft_records.h>

namespace zor::dft {

inline void for_each_in_chain(DftNode *root, auto &&write) {
  for (DftNode *n = root; n; n = n->next_axis) write(n);
}

inline int64_t apply_setting(DftNode *root, int64_t parameter, int64_t value) {
  for_each_in_chain(root, [](DftNode *n) {
    n->flags &= uint8_t(~DFT_FLAG_SINGLE_THREAD_DIRECT);
    n->commit_status = DFT_UNCOMMITTED;
    n->compute_forward = nullptr;
    n->compute_backward = nullptr;
  });
  auto store = [root](int32_t DftNode::*field, int64_t v) {
    for_each_in_chain(root, [&](DftNode *n) { n->*field = int32_t(v); });
    return int64_t(DFT_NO_ERROR);
  };
  switch (parameter) {
    case DFT_FORWARD_SIGN:
    case DFT_INITIALIZATION_EFFORT:
    case 24:
    case 25:
      return DFT_UNIMPLEMENTED;
    case DFT_NUMBER_OF_TRANSFORMS:
      return root->ops->set_number_of_transforms(root, value);
    case DFT_INPUT_DISTANCE:
      return root->ops->set_input_distance(root, value);
    case DFT_OUTPUT_DISTANCE:
      return root->ops->set_output_distance(root, value);
    case DFT_WORKSPACE:
      return DFT_NO_ERROR;
    case DFT_COMPLEX_STORAGE:
      if (value == DFT_COMPLEX_COMPLEX || value == DFT_REAL_REAL) return store(&DftNode::complex_storage, value);
      if (value == DFT_COMPLEX_REAL || value == DFT_REAL_COMPLEX) return DFT_UNIMPLEMENTED;
      return DFT_INCONSISTENT_CONFIGURATION;
    case DFT_REAL_STORAGE:
      if (value == DFT_REAL_REAL) return store(&DftNode::real_storage, value);
      if (value == DFT_REAL_COMPLEX) return DFT_UNIMPLEMENTED;
      return DFT_INCONSISTENT_CONFIGURATION;
    case DFT_CONJUGATE_EVEN_STORAGE:
      if (value == DFT_COMPLEX_COMPLEX) store(&DftNode::packed_format, DFT_CCE_FORMAT);
      if (value == DFT_COMPLEX_COMPLEX || value == DFT_COMPLEX_REAL)
        return store(&DftNode::conjugate_even_storage, value);
      if (value == DFT_REAL_COMPLEX || value == DFT_REAL_REAL) return DFT_UNIMPLEMENTED;
      return DFT_INCONSISTENT_CONFIGURATION;
    case DFT_PLACEMENT:
      if (value == DFT_INPLACE || value == DFT_NOT_INPLACE) return store(&DftNode::placement, value);
      return DFT_INCONSISTENT_CONFIGURATION;
    case DFT_ORDERING:
      if (value == DFT_ORDERED) return store(&DftNode::ordering, value);
      if (value == DFT_BACKWARD_SCRAMBLED)
        return root->forward_domain == DFT_REAL ? int64_t(DFT_UNIMPLEMENTED) : store(&DftNode::ordering, value);
      if (value == DFT_FORWARD_SCRAMBLED) return DFT_UNIMPLEMENTED;
      return DFT_INCONSISTENT_CONFIGURATION;
    case DFT_PACKED_FORMAT:
      if (value >= DFT_CCS_FORMAT && value <= DFT_CCE_FORMAT) return store(&DftNode::packed_format, value);
      return DFT_INCONSISTENT_CONFIGURATION;
    case DFT_NUMBER_OF_USER_THREADS:
      if (value < INT32_MIN || value > INT32_MAX) return DFT_INCONSISTENT_CONFIGURATION;
      return store(&DftNode::user_threads, value);
    default:
      return DFT_INCONSISTENT_CONFIGURATION;
  }
}

// Catalogue message of a status: 0..3 to 761..764, 5..9 to 766..770; 4 and
// every other value to 771.
inline int32_t status_message_number(int64_t s) {
  return (s >= 0 && s <= 3) || (s >= 5 && s <= 9) ? int32_t(761 + s) : 771;
}

}  // namespace zor::dft
