// The numbered message catalogue. Each text is a printf format whose
// conversions take the further arguments in order; the result lives in a
// per-thread buffer that the next call on the same thread overwrites.
#include <zor/core.h>

#include <cstdarg>
#include <cstdio>

namespace {

struct Message {
  int32_t number;
  const char *text;
};

// Families add their numbers here, kept in ascending order.
constexpr Message kCatalogue[] = {
    {0, "Parameter 1 is incorrect: the first dimension must be positive"},
    {1, "Parameter 2 is incorrect: the second dimension must be positive"},
    {761, "No error"},
    {762, "Not enough memory for the transform"},
    {763, "Invalid configuration: zero length, bad rank, bad arguments or an uncommitted descriptor"},
    {764, "Inconsistent configuration: a value outside the accepted set or the wrong number of arrays"},
    {766, "Bad descriptor: null or not a transform descriptor"},
    {767, "Configuration not implemented"},
    {768, "Internal error of the transforms"},
    {769, "No free workspace slot for this thread"},
    {770, "One-dimensional length exceeds the limits"},
    {771, "Internal error"},
    {1001, "Error in the transform descriptor: %s"},
};

const char *find(int32_t number) {
  for (const Message &m : kCatalogue)
    if (m.number == number) return m.text;
  return nullptr;
}

thread_local char result[1024];

const char *format(int32_t number, int32_t nargs, va_list args) {
  const char *text = find(number);
  if (!text) {
    std::snprintf(result, sizeof result, "Unknown message number %d (%d arguments)", number, nargs);
    return result;
  }
  std::vsnprintf(result, sizeof result, text, args);
  return result;
}

}  // namespace

ZOR_API const char *zor_serv_zor_get_msg(int32_t number, int32_t nargs, ...) {
  va_list args;
  va_start(args, nargs);
  const char *text = format(number, nargs, args);
  va_end(args);
  return text;
}

ZOR_API void zor_serv_zor_print(int32_t /*one*/, int32_t number, int32_t nargs, ...) {
  va_list args;
  va_start(args, nargs);
  const char *text = format(number, nargs, args);
  va_end(args);
  std::printf("%s\n", text);
  std::fflush(stdout);
}
