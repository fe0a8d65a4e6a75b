#include "ipmi/trace.h"

#include <exception>

namespace kestrel {

OperationTrace::OperationTrace(const char* startLine, const char* endLine)
    : endLine_(endLine), exceptionsAtStart_(std::uncaught_exceptions()) {
  CTraceUtility::WriteDebug(kChannel, kFlow, "%s", startLine);
}

OperationTrace::~OperationTrace() {
  if (!ended_ && std::uncaught_exceptions() == exceptionsAtStart_) {
    End();
  }
}

void OperationTrace::End() {
  EndAs(endLine_);
}

void OperationTrace::EndAs(const char* line) {
  CTraceUtility::WriteDebug(kChannel, kFlow, "%s", line);
  ended_ = true;
}

void OperationTrace::NoEnd() {
  ended_ = true;
}

}  // namespace kestrel
