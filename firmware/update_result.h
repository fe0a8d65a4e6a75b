// How an update ends.
#ifndef FIRMWARE_UPDATE_RESULT_H
#define FIRMWARE_UPDATE_RESULT_H

namespace kestrel {

inline constexpr int kUpdateDone = 0;
inline constexpr int kUpdateFailed = 1;
inline constexpr int kUpdateTimedOut = 1024;  // the flash command ran into its limit, everything after it succeeded

}  // namespace kestrel

#endif  // FIRMWARE_UPDATE_RESULT_H
