// Statuses, records and state of the transform nodes, through the family's
// internal entries (built into this program) and the exports: every status
// of the creators, setter, commit, compute and free; the texts of the
// statuses; the flat record; the version query; what uncommits a node and
// what keeps it committed; and that nothing is left behind.
#include <cstddef>
#include <cstring>

#include <zor/core.h>
#include <zor/dft_tier.h>
#include <zor/serv.h>

#include "dft/late.hpp"
#include "dft/node.hpp"
#include "dft_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::dft;

struct Node {
  DftNode *d = nullptr;
  explicit Node(int64_t n, int32_t precision = DFT_DOUBLE) {
    const double p = precision == DFT_DOUBLE ? 36.0 : 35.0;
    const int32_t domain = DFT_COMPLEX;
    const int64_t one = 1;
    EXPECT_EQ((precision == DFT_DOUBLE ? dft_create_d : dft_create_s)(&d, &p, &domain, &one, &n), 0);
  }
  ~Node() {
    if (d) dft_free(&d);
  }
  int64_t set(int64_t parameter, int64_t value) { return dft_set_value(&d, &parameter, &value); }
  int64_t commit() { return dft_commit(&d); }
};

TEST(DftStatus, Creators) {
  DftNode *h = reinterpret_cast<DftNode *>(1);
  const double d = 36.0, s = 35.0;
  const int32_t complex = DFT_COMPLEX, other = 31;
  const int64_t one = 1, two = 2, zero = 0, five = 5;
  EXPECT_EQ(dft_create_d(nullptr, &d, &complex, &one, &five), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(dft_create_d(&h, &s, &complex, &one, &five), DFT_INVALID_CONFIGURATION);
  EXPECT_EQ(h, nullptr);  // the handle is cleared first
  EXPECT_EQ(dft_create_s(&h, &d, &complex, &one, &five), DFT_INVALID_CONFIGURATION);
  EXPECT_EQ(dft_create_d(&h, &d, &other, &one, &five), DFT_INVALID_CONFIGURATION);
  EXPECT_EQ(dft_create_d(&h, &d, &complex, &two, &five), DFT_INVALID_CONFIGURATION);
  EXPECT_EQ(dft_create_d(&h, &d, &complex, &one, &zero), DFT_INVALID_CONFIGURATION);
  EXPECT_EQ(zor_dft_dfti_create_dc1d(nullptr, 5), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(zor_dft_dfti_create_sc1d(&h, 0), DFT_INVALID_CONFIGURATION);
  int64_t lengths[3] = {4, 0, 6};
  EXPECT_EQ(zor_dft_dfti_create_node(&h, DFT_DOUBLE, DFT_COMPLEX, 0, lengths), DFT_INVALID_CONFIGURATION);
  EXPECT_EQ(zor_dft_dfti_create_node(&h, DFT_DOUBLE, DFT_COMPLEX, 3, lengths), DFT_INVALID_CONFIGURATION);
  // A blessed node has its thread-policy services.
  Node n(5);
  ASSERT_NE(n.d, nullptr);
  EXPECT_NE(n.d->services->slot[0], nullptr);
  EXPECT_NE(n.d->services->slot[4], nullptr);
  EXPECT_EQ(n.d->magic, DFT_MAGIC);
  EXPECT_EQ(n.d->commit_status, DFT_UNCOMMITTED);
}

TEST(DftStatus, SetterRules) {
  Node n(16);
  struct Case {
    int64_t parameter, value, status;
  } cases[] = {
      {DFT_FORWARD_SIGN, 0, 6},     {DFT_INITIALIZATION_EFFORT, 0, 6}, {24, 0, 6}, {25, 0, 6},
      {DFT_COMPLEX_STORAGE, 39, 0}, {DFT_COMPLEX_STORAGE, 40, 6},     {DFT_COMPLEX_STORAGE, 41, 6},
      {DFT_COMPLEX_STORAGE, 7, 3},  {DFT_REAL_STORAGE, 42, 0},        {DFT_REAL_STORAGE, 41, 6},
      {DFT_REAL_STORAGE, 39, 3},    {DFT_CONJUGATE_EVEN_STORAGE, 40, 0}, {DFT_CONJUGATE_EVEN_STORAGE, 42, 6},
      {DFT_CONJUGATE_EVEN_STORAGE, 1, 3}, {DFT_PLACEMENT, 44, 0},    {DFT_PLACEMENT, 45, 3},
      {DFT_PLACEMENT, 43, 0},       {DFT_WORKSPACE, 12345, 0},        {DFT_ORDERING, 49, 0},
      {DFT_ORDERING, 50, 6},        {DFT_ORDERING, 47, 3},            {DFT_ORDERING, 48, 0},
      {DFT_PACKED_FORMAT, 56, 0},   {DFT_PACKED_FORMAT, 58, 3},       {DFT_NUMBER_OF_USER_THREADS, 3, 0},
      {DFT_NUMBER_OF_USER_THREADS, int64_t(1) << 31, 3}, {DFT_NUMBER_OF_USER_THREADS, 1, 0},
      {12, 0, 3},                   {27, 0, 3},                       {-1, 0, 3},
  };
  for (const Case &c : cases) {
    ASSERT_EQ(n.commit(), 0);
    EXPECT_EQ(n.set(c.parameter, c.value), c.status) << c.parameter << " = " << c.value;
    // Whatever the answer, the node has lost its committed state.
    EXPECT_EQ(n.d->commit_status, DFT_UNCOMMITTED);
    EXPECT_EQ(n.d->compute_forward, nullptr);
    EXPECT_EQ(n.d->flags & DFT_FLAG_SINGLE_THREAD_DIRECT, 0);
  }
  EXPECT_EQ(n.set(DFT_CONJUGATE_EVEN_STORAGE, 39), 0);
  EXPECT_EQ(n.d->packed_format, DFT_CCE_FORMAT);
  EXPECT_EQ(n.set(DFT_PACKED_FORMAT, 54), 0);
  EXPECT_EQ(n.set(DFT_CONJUGATE_EVEN_STORAGE, 40), 0);
  EXPECT_EQ(n.d->packed_format, DFT_CCS_FORMAT);
  // Counts and distances go through the node's operations.
  EXPECT_EQ(n.set(DFT_NUMBER_OF_TRANSFORMS, 7), 0);
  EXPECT_EQ(n.set(DFT_NUMBER_OF_TRANSFORMS, 0), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(n.set(DFT_INPUT_DISTANCE, 20), 0);
  EXPECT_EQ(n.set(DFT_OUTPUT_DISTANCE, 21), 0);
  int64_t v = 0;
  n.d->ops->get_number_of_transforms(n.d, &v);
  EXPECT_EQ(v, 7);
  n.d->ops->get_input_distance(n.d, &v);
  EXPECT_EQ(v, 20);
  n.d->ops->get_output_distance(n.d, &v);
  EXPECT_EQ(v, 21);
  // The setter writes every node of the axis chain.
  Node second(4);
  n.d->next_axis = second.d;
  EXPECT_EQ(n.set(DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  EXPECT_EQ(second.d->placement, DFT_NOT_INPLACE);
  n.d->next_axis = nullptr;
  // Real data refuses the backward-scrambled ordering.
  n.d->forward_domain = DFT_REAL;
  EXPECT_EQ(n.set(DFT_ORDERING, 49), DFT_UNIMPLEMENTED);
  n.d->forward_domain = DFT_COMPLEX;
}

TEST(DftStatus, HandlesAndDescriptors) {
  DftNode *null_node = nullptr;
  int64_t p = DFT_PLACEMENT, v = 43, status;
  EXPECT_EQ(dft_set_value(nullptr, &p, &v), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(dft_set_value(&null_node, &p, &v), DFT_BAD_DESCRIPTOR);
  EXPECT_EQ(dft_commit(nullptr), DFT_BAD_DESCRIPTOR);
  EXPECT_EQ(dft_commit(&null_node), DFT_BAD_DESCRIPTOR);
  EXPECT_EQ(dft_free(nullptr), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(dft_free(&null_node), DFT_BAD_DESCRIPTOR);
  EXPECT_EQ(dft_compute_forward_d(nullptr, nullptr), DFT_BAD_DESCRIPTOR);
  EXPECT_EQ(dft_compute_backward_s(&null_node, nullptr), DFT_BAD_DESCRIPTOR);

  Node n(16);
  std::vector<cd> x(16, cd(1, 0));
  auto *data = reinterpret_cast<zor::cplx<double> *>(x.data());
  EXPECT_EQ(dft_compute_forward_d(&n.d, data), DFT_INCONSISTENT_CONFIGURATION);  // never committed
  ASSERT_EQ(n.commit(), 0);
  EXPECT_EQ(dft_compute_forward_d(&n.d, data), 0);
  // The fast path does not look at the magic; everything else does.
  n.d->magic = 0;
  EXPECT_EQ(dft_compute_backward_d(&n.d, data), 0);
  EXPECT_EQ(n.set(DFT_PLACEMENT, 43), DFT_BAD_DESCRIPTOR);
  EXPECT_EQ(n.commit(), 0);
  n.d->magic = DFT_MAGIC;
  EXPECT_EQ(n.set(DFT_WORKSPACE, 0), 0);
  EXPECT_EQ(dft_compute_forward_d(&n.d, data), DFT_INVALID_CONFIGURATION);  // uncommitted by the setter
  n.d->magic = 0;
  EXPECT_EQ(dft_compute_forward_d(&n.d, data), DFT_BAD_DESCRIPTOR);
  n.d->magic = DFT_MAGIC;
  ASSERT_EQ(n.set(DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(n.commit(), 0);
  EXPECT_EQ(dft_compute_forward_d(&n.d, data), DFT_INCONSISTENT_CONFIGURATION);  // two arrays expected
  const DftOps *ops = n.d->ops;
  n.d->ops = nullptr;
  EXPECT_EQ(n.commit(), DFT_INTERNAL_ERROR);
  n.d->magic = 0;
  EXPECT_EQ(n.commit(), DFT_BAD_DESCRIPTOR);
  n.d->magic = DFT_MAGIC;
  n.d->ops = ops;
  double scale;
  EXPECT_EQ(ops->set_scale(n.d, 6, 2.0), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(ops->get_scale(n.d, 3, &scale), DFT_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(dft_free(&n.d), 0);
  EXPECT_EQ(n.d, nullptr);
  EXPECT_EQ(dft_free(&n.d), DFT_BAD_DESCRIPTOR);  // freed, the handle is null

  // 7: a negative length reaches the plan layer; 1: too many user threads.
  DftNode *h = nullptr;
  ASSERT_EQ(zor_dft_dfti_create_dc1d(&h, -8), 0);
  EXPECT_EQ(bless(h), 0);
  EXPECT_EQ(h->ops->commit(h), DFT_INTERNAL_ERROR);
  status = zor_dft_dfti_create_dc1d(&null_node, 4096);  // a length the core takes
  ASSERT_EQ(status, 0);
  bless(null_node);
  p = DFT_NUMBER_OF_USER_THREADS, v = 0x7ffffff;
  EXPECT_EQ(dft_set_value(&null_node, &p, &v), 0);
  EXPECT_EQ(dft_commit(&null_node), DFT_MEMORY_ERROR);
  dft_free(&null_node);
  dft_free(&h);

  // 6: split storage of rank above 1 in a driver.
  Node split(8);
  ASSERT_EQ(split.set(DFT_COMPLEX_STORAGE, DFT_REAL_REAL), 0);
  ASSERT_EQ(split.commit(), 0);
  split.d->rank = 2;
  std::vector<double> re(8), im(8);
  void *pair[2] = {re.data(), im.data()};
  EXPECT_EQ(zor_dft_xzforward(split.d, pair, 1, split.d->workspace), DFT_UNIMPLEMENTED);
  split.d->rank = 1;
}

TEST(DftStatus, Texts) {
  auto text = [](int64_t s) {
    char buffer[120];
    int64_t length = sizeof buffer;
    dft_status_text(buffer, &length, &s);
    std::string t(buffer, sizeof buffer);
    return t.substr(0, t.find_last_not_of(' ') + 1);
  };
  for (int64_t s : {0, 1, 2, 3, 5, 6, 7, 8, 9}) {
    EXPECT_EQ(text(s), zor_serv_zor_get_msg(int32_t(761 + s), 0)) << s;
    EXPECT_EQ(text(s), zor_fft_status_text(s));
  }
  for (int64_t s : {4, 10, -1, 100}) EXPECT_EQ(text(s), zor_serv_zor_get_msg(771, 0)) << s;
  // Blank-filled to the length, no terminator, cut where it does not fit.
  char small[6];
  std::memset(small, 'x', sizeof small);
  int64_t length = 4, s = 3;
  dft_status_text(small, &length, &s);
  EXPECT_EQ(std::string(small, 6), std::string(zor_serv_zor_get_msg(764, 0), 4) + "xx");
}

TEST(DftStatus, FlatRecordNioargsAndVersion) {
  DftFlatRecord *r = nullptr;
  const int64_t lengths[3] = {6, 5, 4};
  ASSERT_EQ(zor_dft_create_descriptor_md(&r, DFT_DOUBLE, DFT_REAL, 3, lengths), 0);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(r) % 16, 0u);
  EXPECT_EQ(sizeof(DftFlatRecord) % 8, 0u);
  EXPECT_EQ(offsetof(DftFlatRecord, transforms), 16u);
  EXPECT_EQ(r[0].magic, DFT_MAGIC);
  EXPECT_EQ(r[1].commit_status, DFT_UNCOMMITTED);
  EXPECT_EQ(r[2].ordering, DFT_ORDERED);
  EXPECT_EQ(r[2].transpose, DFT_NONE);
  EXPECT_EQ(r[0].position[3], 4);  // half length plus one on the first axis
  EXPECT_EQ(r[1].position[3], 5);
  EXPECT_EQ(r[2].running_length, 120);
  EXPECT_EQ(r[2].running_half_length, 80);
  EXPECT_EQ(r[1].previous, &r[0]);
  EXPECT_EQ(r[1].next, &r[2]);
  EXPECT_EQ(r[0].first_words[1], 1);
  EXPECT_EQ(r[1].first_words[0], 0);
  EXPECT_EQ(r[0].forward_scale_s, 1.0f);
  EXPECT_EQ(r[2].backward_scale, 1.0);
  EXPECT_EQ(zor_dft_determine_nioargs(r), 1);
  r->placement = DFT_NOT_INPLACE;
  EXPECT_EQ(zor_dft_determine_nioargs(r), 2);
  r->complex_storage = DFT_REAL_REAL;
  EXPECT_EQ(zor_dft_determine_nioargs(r), 2);  // real domain: not doubled
  r->forward_domain = DFT_COMPLEX;
  EXPECT_EQ(zor_dft_determine_nioargs(r), 4);
  zor_serv_zor_free(r);
  const int64_t four[4] = {2, 2, 2, 2};
  EXPECT_EQ(zor_dft_create_descriptor_md(&r, DFT_DOUBLE, DFT_REAL, 4, four), DFT_UNIMPLEMENTED);
  ASSERT_EQ(zor_dft_create_descriptor_md(&r, DFT_SINGLE, DFT_COMPLEX, 4, four), 0);
  zor_serv_zor_free(r);

  char text[300];
  std::memset(text, '#', sizeof text);
  EXPECT_EQ(zor_dft_dfti_get_version_string(text, 0), 0);
  EXPECT_EQ(text[0], '#');
  EXPECT_EQ(zor_dft_dfti_get_version_string(text, 7), 0);
  EXPECT_EQ(text[7], '#');  // no terminator
  EXPECT_EQ(zor_dft_dfti_get_version_string(text, 300), 0);
  const char *end = static_cast<const char *>(std::memchr(text, '#', sizeof text));
  ASSERT_NE(end, nullptr);
  EXPECT_LE(end - text, 198);
  EXPECT_GT(end - text, 10);
}

TEST(DftStatus, StateAndOperations) {
  Node n(12);
  ASSERT_EQ(n.commit(), 0);
  const DftOps *ops = n.d->ops;
  // The same scale keeps the node committed; another uncommits it.
  EXPECT_EQ(ops->set_scale(n.d, DFT_FORWARD_SCALE, 1.0), 0);
  EXPECT_EQ(n.d->commit_status, DFT_COMMITTED);
  EXPECT_EQ(ops->set_scale(n.d, DFT_FORWARD_SCALE, 0.5), 0);
  EXPECT_EQ(n.d->commit_status, DFT_UNCOMMITTED);
  double scale = 0;
  EXPECT_EQ(ops->get_scale(n.d, DFT_FORWARD_SCALE, &scale), 0);
  EXPECT_EQ(scale, 0.5);
  ASSERT_EQ(n.commit(), 0);
  int64_t strides[2] = {3, 2}, back[2] = {};
  EXPECT_EQ(ops->set_output_strides(n.d, strides), 0);
  EXPECT_EQ(n.d->commit_status, DFT_UNCOMMITTED);
  ops->get_output_strides(n.d, back);
  EXPECT_EQ(back[0], 3);
  EXPECT_EQ(back[1], 2);
  // Default strides continue the running product from a stride that was set.
  DftNode *m = nullptr;
  const int64_t lengths[3] = {4, 5, 6};
  ASSERT_EQ(zor_dft_dfti_create_node(&m, DFT_DOUBLE, DFT_COMPLEX, 3, lengths), 0);
  int64_t three[4] = {0, DFT_STRIDE_UNSET, 10, DFT_STRIDE_UNSET}, got[4] = {};
  m->ops->set_input_strides(m, three);
  m->ops->get_input_strides(m, got);
  EXPECT_EQ(got[1], 1);
  EXPECT_EQ(got[2], 10);
  EXPECT_EQ(got[3], 50);
  // Names: at most 10 bytes, padded.
  m->ops->set_descriptor_name(m, "abc", 3, '.');
  char name[10];
  m->ops->get_descriptor_name(m, name, 10);
  EXPECT_EQ(std::string(name, 10), "abc.......");
  // A copy keeps the configuration, none of the commit.
  DftNode *c = nullptr;
  ASSERT_EQ(n.commit(), 0);
  ASSERT_EQ(ops->copy(n.d, &c), 0);
  EXPECT_EQ(c->commit_status, DFT_UNCOMMITTED);
  EXPECT_EQ(c->forward_scale, 0.5);
  EXPECT_EQ(c->dims_user.entries[0].output_stride, 2);
  EXPECT_EQ(c->workspace, nullptr);
  // The slot of held buffers empties into the node it holds.
  n.d->method_state = c;
  EXPECT_EQ(zor_dft_free_allocated_buffers(n.d), 0);
  EXPECT_EQ(n.d->method_state, nullptr);
  m->destroy(m);
}

// Create, commit twice (with a setter between), copy and free: the plain
// heap's live blocks come back to where they were.
TEST(DftStatus, NothingLeftBehind) {
  int32_t count0 = 0, count1 = 0;
  int64_t bytes0 = zor_serv_zor_memstat(&count0);
  for (int64_t n : {1, 16, 100, 1024, 4096, 4097}) {
    Node node(n);
    ASSERT_EQ(node.commit(), 0);
    ASSERT_EQ(node.set(DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
    ASSERT_EQ(node.commit(), 0);
    DftNode *c = nullptr;
    ASSERT_EQ(node.d->ops->copy(node.d, &c), 0);
    ASSERT_EQ(c->ops->commit(c), 0);
    c->destroy(c);
  }
  EXPECT_EQ(zor_serv_zor_memstat(&count1), bytes0);
  EXPECT_EQ(count1, count0);
}

}  // namespace
