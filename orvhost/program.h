// One run of the tool from its arguments to its exit code. What a process must settle before is the caller's.
#ifndef ORVHOST_PROGRAM_H
#define ORVHOST_PROGRAM_H

namespace orvhost {

[[nodiscard]] int RunProgram(int argc, const char* const* argv);

}  // namespace orvhost

#endif  // ORVHOST_PROGRAM_H
