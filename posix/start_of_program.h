// What a program that writes to devices and files settles before it opens anything: what its caller handed down must
// neither mix with its files nor reach what it starts.
#ifndef POSIX_START_OF_PROGRAM_H
#define POSIX_START_OF_PROGRAM_H

namespace posix {

// Opens those of the descriptors 0 to 2 that are closed, so that no file gets one of them; reading and writing them
// goes on to fail. Keeps every further open descriptor from programs that this one starts, and makes no file or folder
// that others may write. False when that is not possible; then nothing should be opened.
[[nodiscard]] bool SettleInheritance();

}  // namespace posix

#endif  // POSIX_START_OF_PROGRAM_H
