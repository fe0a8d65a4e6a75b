// Levels of trace lines, short.
#ifndef TESTS_ORVHOST_TRACE_LEVELS_H
#define TESTS_ORVHOST_TRACE_LEVELS_H

namespace orvhost {

inline constexpr int kInfo = 1;
inline constexpr int kError = 2;
inline constexpr int kFlow = 4;
inline constexpr int kRetry = 16;

}  // namespace orvhost

#endif  // TESTS_ORVHOST_TRACE_LEVELS_H
