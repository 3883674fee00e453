/* The records of the Fourier transforms, shared by the tier, the provider and
 * the tests: the transform node (DftNode) with its axis lists, commit
 * methods, per-node operations and thread-policy services; the radix plan
 * (DftPlan); the value, parameter and status codes; and the flat record of
 * zor_dft_create_descriptor_md.
 *
 * Every numeric code here is part of the interface: records store the codes
 * as they are and the kernels compare against them. Internal entries take
 * plain values (no references) and return a status of this header.
 */
#ifndef ZOR_DFT_RECORDS_H
#define ZOR_DFT_RECORDS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------- statuses */
enum {
  DFT_NO_ERROR = 0,
  DFT_MEMORY_ERROR = 1,
  DFT_INVALID_CONFIGURATION = 2,
  DFT_INCONSISTENT_CONFIGURATION = 3,
  DFT_MULTITHREADED_ERROR = 4,
  DFT_BAD_DESCRIPTOR = 5,
  DFT_UNIMPLEMENTED = 6,
  DFT_INTERNAL_ERROR = 7,
  DFT_NUMBER_OF_THREADS_ERROR = 8,
  DFT_1D_LENGTH_EXCEEDS_INT32 = 9,
  /* internal to commit: the method does not apply, the next one is tried */
  DFT_METHOD_SPLIT_NOT_APPLICABLE = 100,
  DFT_METHOD_NOT_APPLICABLE = 101,
  DFT_NO_TWO_FACTOR_SPLIT = 102
};

/* ---------------------------------------------------------------- value codes */
enum {
  DFT_COMMITTED = 30,
  DFT_UNCOMMITTED = 31,
  DFT_COMPLEX = 32,
  DFT_REAL = 33,
  DFT_SINGLE = 35,
  DFT_DOUBLE = 36,
  DFT_COMPLEX_COMPLEX = 39,
  DFT_COMPLEX_REAL = 40,
  DFT_REAL_COMPLEX = 41,
  DFT_REAL_REAL = 42,
  DFT_INPLACE = 43,
  DFT_NOT_INPLACE = 44,
  DFT_ORDERED = 48,
  DFT_BACKWARD_SCRAMBLED = 49,
  DFT_FORWARD_SCRAMBLED = 50,
  DFT_NONE = 53,
  DFT_CCS_FORMAT = 54,
  DFT_PACK_FORMAT = 55,
  DFT_PERM_FORMAT = 56,
  DFT_CCE_FORMAT = 57
};

/* ---------------------------------------------------------------- parameter codes */
enum {
  DFT_FORWARD_SCALE = 4, /* get_scale / set_scale */
  DFT_BACKWARD_SCALE = 5,
  DFT_FORWARD_SIGN = 6,
  DFT_NUMBER_OF_TRANSFORMS = 7,
  DFT_COMPLEX_STORAGE = 8,
  DFT_REAL_STORAGE = 9,
  DFT_CONJUGATE_EVEN_STORAGE = 10,
  DFT_PLACEMENT = 11,
  DFT_INPUT_DISTANCE = 14,
  DFT_OUTPUT_DISTANCE = 15,
  DFT_INITIALIZATION_EFFORT = 16,
  DFT_WORKSPACE = 17,
  DFT_ORDERING = 18,
  DFT_PACKED_FORMAT = 21,
  DFT_NUMBER_OF_USER_THREADS = 26
};

#define DFT_MAGIC 0x544644          /* 'D', 'F', 'T', 0 as bytes */
#define DFT_STRIDE_UNSET INT64_MIN  /* 0x8000000000000000 in a DftAxis stride */

/* Bits of DftNode.flags. */
enum {
  DFT_FLAG_SINGLE_THREAD_DIRECT = 1,
  DFT_FLAG_DIRECT_2D = 2,
  DFT_FLAG_CALL_KERNEL_DIRECTLY = 4,
  DFT_FLAG_CHILD_NODE = 8
};

typedef struct DftNode DftNode;
typedef struct DftPlan DftPlan;

/* One entry of an axis or batch list: length (or count), input stride (or
   distance), output stride (or distance). */
typedef struct DftAxis {
  int64_t length;
  int64_t input_stride;
  int64_t output_stride;
} DftAxis;

typedef struct DftAxisList {
  int32_t count;
  DftAxis *entries;
} DftAxisList;

/* A commit strategy. Some methods are followed in memory by a table of
   fixed-length kernels (DftFixedRow), ended by a row of length 0. */
typedef struct DftMethod DftMethod;
struct DftMethod {
  int64_t (*commit)(DftMethod *method, DftNode *node);
  int64_t (*release)(DftMethod *method, DftNode *node);
};

/* Compute entry. In place it reads a; out of place a is the input and b the
   output. Split storage passes real and imaginary arrays: in place
   (real, imaginary); out of place (input real, input imaginary, output real,
   output imaginary). Unused arguments are null. */
typedef int64_t (*dft_compute_fn)(DftNode *node, void *a, void *b, void *c, void *d);

/* Axis kernel: one contiguous line, in and out may be equal. With split
   storage in and out each point to a pair of pointers {real, imaginary}. Also
   the form of the whole-transform routines. */
typedef int64_t (*dft_axis_kernel)(void *in, void *out, DftNode *node, void *workspace);

/* A row of a fixed-length kernel table. */
typedef struct DftFixedRow {
  int32_t length;
  dft_compute_fn forward_out, backward_out, forward_in, backward_in;
} DftFixedRow;

typedef int64_t (*dft_node_fn)(DftNode *node);
typedef void (*dft_generic_fn)(void);

/* The table of per-node operations, one table shared by all nodes. Every
   operation returns a status. */
typedef struct DftOps {
  int64_t (*commit)(DftNode *node);
  int64_t (*recommit)(DftNode *node);
  /* offset first, then one stride per configured axis */
  int64_t (*get_input_strides)(DftNode *node, int64_t *strides);
  int64_t (*get_output_strides)(DftNode *node, int64_t *strides);
  int64_t (*set_input_strides)(DftNode *node, const int64_t *strides);
  int64_t (*set_output_strides)(DftNode *node, const int64_t *strides);
  int64_t (*get_lengths)(DftNode *node, int64_t *lengths);
  int64_t (*get_descriptor_name)(DftNode *node, char *name, int64_t length);
  int64_t (*set_descriptor_name)(DftNode *node, const char *name, int64_t length, char pad);
  int64_t (*get_scale)(DftNode *node, int64_t parameter, double *value);
  int64_t (*set_scale)(DftNode *node, int64_t parameter, double value);
  int64_t (*copy)(DftNode *node, DftNode **copy);
  int64_t (*get_input_distance)(DftNode *node, int64_t *distance);
  int64_t (*get_output_distance)(DftNode *node, int64_t *distance);
  int64_t (*get_number_of_transforms)(DftNode *node, int64_t *count);
  int64_t (*set_input_distance)(DftNode *node, int64_t distance);
  int64_t (*set_output_distance)(DftNode *node, int64_t distance);
  int64_t (*set_number_of_transforms)(DftNode *node, int64_t count);
} DftOps;

/* The thread-policy table, process-wide, filled by the threading layer.
   Slot 0: non-zero lets commit run the thread-limit functions; slot 1: the
   default thread count; slot 2: processors available; slot 4: cache size in
   bytes. An empty slot is never called: slot 0 then reads as 0 and slot 1
   as 1. */
#define DFT_SERVICE_SLOTS 8
typedef int64_t (*dft_service_fn)(void);
typedef struct DftServices {
  dft_service_fn slot[DFT_SERVICE_SLOTS];
} DftServices;

/* Indices of DftNode.plans: kind times two, plus one for double. */
enum { DFT_PLAN_ORDERED = 0, DFT_PLAN_SPLIT = 2, DFT_PLAN_REAL = 4, DFT_PLAN_UNORDERED = 6 };
/* Indices of DftNode.kernels: single then double, backward then forward;
   4 to 7 the same for the whole-transform routines. */
enum {
  DFT_KERNEL_S_BACKWARD = 0,
  DFT_KERNEL_S_FORWARD = 1,
  DFT_KERNEL_D_BACKWARD = 2,
  DFT_KERNEL_D_FORWARD = 3,
  DFT_WHOLE_S_BACKWARD = 4,
  DFT_WHOLE_S_FORWARD = 5,
  DFT_WHOLE_D_BACKWARD = 6,
  DFT_WHOLE_D_FORWARD = 7
};

/* The transform node. */
struct DftNode {
  dft_compute_fn compute_forward; /* null while uncommitted */
  dft_compute_fn compute_backward;
  DftMethod *owner_method;  /* the commit method that took the node */
  void *method_state;       /* private record of that method */
  DftMethod **method_list;  /* null-terminated, tried by commit in order */
  int32_t nio_args;         /* data arrays a compute entry takes */
  uint8_t flags;            /* DFT_FLAG_* */
  int32_t magic;            /* DFT_MAGIC */
  int32_t commit_status;    /* DFT_COMMITTED or DFT_UNCOMMITTED */
  DftAxisList dims_user;    /* axes as configured */
  DftAxisList batch_user;   /* {count, input distance, output distance} */
  int32_t rank_user;
  int32_t rank;             /* axes after normalisation */
  DftAxisList dims;
  DftAxisList batch;
  dft_node_fn uncommit;     /* drops everything commit built */
  dft_node_fn destroy;      /* uncommit, free the lists, free the node */
  const DftOps *ops;
  DftServices *services;
  char descriptor_name[10];
  int32_t inherited_word;
  int32_t forward_domain;
  int32_t precision;
  int64_t transforms;
  int32_t complex_storage;
  int32_t real_storage;
  int32_t conjugate_even_storage;
  int32_t placement;
  int32_t packed_format;
  int64_t input_stride;
  int64_t output_stride;
  int32_t inherited_word_2;
  int32_t force_four_step;
  int32_t ordering;
  int32_t transpose;
  int64_t axis_index;
  int64_t length;
  void *aux_buffers[4];
  double kernel_forward_scale;
  double kernel_backward_scale;
  float kernel_forward_scale_s;
  float kernel_backward_scale_s;
  double forward_scale;
  double backward_scale;
  int64_t length_log2;
  int64_t input_offset;
  int64_t output_offset;
  int64_t input_distance;
  int64_t output_distance;
  int32_t uses_plan;
  int64_t total_size;
  DftNode *next_axis;
  dft_axis_kernel kernels[8];       /* DFT_KERNEL_*, DFT_WHOLE_* */
  dft_axis_kernel real_kernels[4];  /* single fwd, single bwd, double fwd, double bwd */
  dft_generic_fn kernels_2d[4];
  dft_generic_fn packed_convert[2];
  int64_t max_axis_length;
  DftPlan *plans[8];                /* DFT_PLAN_* + precision */
  int64_t work_size;
  int64_t max_work_size;
  void *workspace;
  void *kernel_tables;
  int32_t user_threads;
  int32_t threads;
  int32_t thread_limit;
  int32_t real_fast_flag;
  int64_t *thread_slots;
  void *four_step_state;
  dft_node_fn four_step_free;
  int32_t commit_hooks_enabled;
  void *extra_state;
  dft_node_fn extra_free;
};

/* ---------------------------------------------------------------- four steps */

/* The record of a long one-dimensional transform computed as an m2-by-m1
   two-dimensional problem (n = m1 m2, m1 <= m2), held in four_step_state.
   Point j = j2 + m2 j1 of the input; point k = k1 + m1 k2 of the output. */
typedef struct DftFourStep {
  int64_t rows;          /* m1, the smaller factor */
  int64_t cols;          /* m2, the larger factor */
  int64_t row_pitch;     /* elements between lines of m1 points in a scratch */
  int64_t col_pitch;     /* elements between lines of m2 points in a buffer */
  DftNode *row_node;     /* child of length m1 */
  DftNode *col_node;     /* child of length m2; row_node when m1 = m2 */
  void *twiddles;        /* two levels of twiddle_count values each */
  int64_t twiddle_count; /* T: w^j = first[j mod T] * second[j / T] */
  int32_t transpose_mode; /* 0 scratch; 1 work in the output; -1 transpose the input first */
  int32_t twiddle_log2;  /* log2 T */
  int64_t child_work;    /* bytes of the children's share of the workspace */
  int64_t work_size;     /* bytes of the whole share: children, then the line buffer */
} DftFourStep;

/* ---------------------------------------------------------------- radix plans */

/* Plan tags. */
#define DFT_PLAN_TAG_COMPLEX 16
#define DFT_PLAN_TAG_UNORDERED 0x434d414b
#define DFT_PLAN_TAG_SPLIT 17
#define DFT_PLAN_TAG_REAL 18
#define DFT_PLAN_TAG_POW2_COMPLEX 7
#define DFT_PLAN_TAG_POW2_SPLIT 8
#define DFT_PLAN_TAG_POW2_REAL 9

/* Scale modes of plan creation. */
enum { DFT_SCALE_FORWARD = 1, DFT_SCALE_BACKWARD = 2, DFT_SCALE_SQRT_BOTH = 4, DFT_SCALE_NONE = 8 };

/* Statuses of the plan layer; a node maps -9 to 1 and the others to 7. */
enum {
  DFT_PLAN_OK = 0,
  DFT_PLAN_BAD_SIZE = -6,
  DFT_PLAN_NULL_POINTER = -8,
  DFT_PLAN_NO_MEMORY = -9,
  DFT_PLAN_BAD_ORDER = -15,
  DFT_PLAN_BAD_FLAG = -16,
  DFT_PLAN_WRONG_TAG = -17
};

#define DFT_PLAN_MAX_FACTORS 20

/* One pass of a mixed-radix plan. */
typedef struct DftFactor {
  int32_t radix;
  int64_t remaining;   /* length over the product of the radices up to this one */
  int64_t done;        /* product of the radices before this one */
  int32_t group;       /* the blocking group this pass runs in (0 = outermost) */
  void *prime_table;   /* roots of a radix above 13 */
  void *twiddles;      /* in the order of use */
} DftFactor;

struct DftPlan {
  int32_t tag;
  int32_t length;
  int32_t scale_forward;
  int32_t scale_backward;
  double scale;
  int32_t hint;
  int32_t work_size;   /* bytes of workspace compute needs; 0 none */
  int32_t uses_fft;    /* 1: power of two */
  int32_t unordered;
  int32_t real_path;
  int32_t conv_length; /* L of the chirp convolution */
  void *direct_table;
  void *half_cos;
  void *half_sin;
  void *chirp;
  void *chirp_spectrum;
  DftPlan *fft;        /* the power-of-two plan */
  DftPlan *sub_plan;   /* plan of length L for the chirp path */
  int32_t mixed;
  int32_t last_factor;
  int32_t *order;      /* input positions of the first pass */
  DftFactor factors[DFT_PLAN_MAX_FACTORS];
  /* kept by this implementation */
  int32_t precision;   /* DFT_SINGLE or DFT_DOUBLE */
  int32_t order_log2;  /* power-of-two plans: log2 of the length */
  int32_t block_elems; /* passes over blocks up to this size run block by block */
  void *roots;         /* the n roots of unity of a mixed plan */
};

/* ---------------------------------------------------------------- the flat record */

/* One record per axis of zor_dft_create_descriptor_md, zero-filled, 16-byte
   aligned, in an array of `rank` records. */
typedef struct DftFlatRecord DftFlatRecord;
struct DftFlatRecord {
  int32_t magic;
  int32_t commit_status;  /* 31 */
  int32_t forward_domain;
  int32_t precision;
  int64_t transforms;     /* 1 */
  int32_t complex_storage;        /* 39 */
  int32_t real_storage;           /* 42 */
  int32_t conjugate_even_storage; /* 40 */
  int32_t placement;              /* 43 */
  int32_t packed_format;          /* 54 */
  int64_t input_stride;
  int64_t output_stride;
  int32_t ordering;       /* 48 */
  int32_t transpose;      /* 53 */
  /* rank, this axis, length, and half length plus one (first record) or the
     length again (the others) */
  int64_t position[4];
  float forward_scale_s;
  float backward_scale_s;
  double forward_scale;
  double backward_scale;
  int64_t cleared[4];
  int64_t running_length;
  int64_t running_half_length;
  DftFlatRecord *previous;
  DftFlatRecord *next;
  int64_t first_words[2]; /* 1, 1 in the first record */
};

#ifdef __cplusplus
}
#endif
#endif
