#include "explore/child.h"

#include <ucontext.h>

#include <cstdlib>
#include <vector>

namespace explore {

namespace {

constexpr std::size_t kStackOfReturn = 65536;  // of the one function that puts the tool's stack back

struct Parent {
  ucontext_t context{};
  char* stack = nullptr;
  std::vector<char> kept;
  bool hasChild = false;
  ChildEnd end;
};

Parent& TheParent() {
  static Parent parent;
  return parent;
}

void PutStackBack() {
  Parent& parent = TheParent();
  for (std::size_t at = 0; at < parent.kept.size(); ++at) {
    parent.stack[at] = parent.kept[at];
  }
  setcontext(&parent.context);
}

}  // namespace

bool BecomeChild(char* stackEnd, ChildEnd* end) {
  Parent& parent = TheParent();
  parent.hasChild = true;
  getcontext(&parent.context);  // comes back a second time
  if (TheParent().hasChild) {
    // From below this call's own frame up to the end.
    parent.stack = static_cast<char*>(__builtin_frame_address(0)) - 1024;
    parent.kept.assign(parent.stack, stackEnd);
    return true;
  }
  *end = TheParent().end;
  return false;
}

bool IsChild() {
  return TheParent().hasChild;
}

void EndChild(const ChildEnd& end) {
  static std::vector<char> stack(kStackOfReturn);
  static ucontext_t back;
  TheParent().end = end;
  TheParent().hasChild = false;
  getcontext(&back);
  back.uc_stack.ss_sp = stack.data();
  back.uc_stack.ss_size = stack.size();
  back.uc_link = nullptr;
  makecontext(&back, PutStackBack, 0);
  setcontext(&back);
  std::abort();
}

}  // namespace explore
