// A child process of the tool's that is none: after fork() the tool goes on as the child, up to the program that it
// becomes or its end, and then is the parent again, with the stack as it was. What the child did to files stays, as it
// would; what it did to its memory otherwise stays too, which a child that becomes a program at once hardly does.
#ifndef EXPLORE_CHILD_H
#define EXPLORE_CHILD_H

#include <sys/types.h>

#include <string>

namespace explore {

struct ChildEnd {
  bool becameProgram = false;
  std::string commandLine;  // of that program
  int status = 0;           // of a child that has just ended
};

// To be called on the tool's stack, of which `stackEnd` is the high end. True at once, in the child; false when that
// has ended, which `end` then tells.
[[gnu::noinline]] bool BecomeChild(char* stackEnd, ChildEnd* end);

[[nodiscard]] bool IsChild();

// Of the child; does not return.
[[noreturn]] void EndChild(const ChildEnd& end);

}  // namespace explore

#endif  // EXPLORE_CHILD_H
