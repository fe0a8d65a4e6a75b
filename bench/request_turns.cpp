#include "bench/request_turns.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "bench/shell.h"
#include "host/DllCommon.h"

namespace bench {

namespace {

constexpr std::string_view kBeforeCommand = "Execute command [";

// Every command line ends with: > "FILE"
std::string ResultFile(const std::string& command) {
  const std::size_t start = command.rfind('"', command.size() - 2) + 1;
  return command.substr(start, command.size() - 1 - start);
}

}  // namespace

RequestTurns::RequestTurns(const BenchHost& host, Trace trace) {
  if (trace == Trace::kToFile) {
    file_.emplace(host.TraceFilePath());
  }
  refhost::SetTraceSink(this);
}

RequestTurns::~RequestTurns() {
  refhost::SetTraceSink(nullptr);
}

Pass RequestTurns::Measure(int requests, const std::function<void()>& operation) {
  bare_ = {};
  hosted_ = {};
  notOurs_ = {};
  commands_.clear();
  const Cost start = Now();
  operation();
  const Cost whole = Now() - start;
  if (commands_.size() != static_cast<std::size_t>(requests)) {
    std::fprintf(stderr, "%zu requests were sent where %d belong\n", commands_.size(), requests);
    std::exit(1);
  }
  return {bare_, hosted_, whole - notOurs_};
}

Pass RequestTurns::MeasureOneAfterTheOther(int requests, const std::function<void()>& operation) {
  takesTurns_ = false;
  const Pass pass = Measure(requests, operation);
  takesTurns_ = true;
  for (const std::string& command : commands_) {
    RunBare(command);
  }
  for (const std::string& command : commands_) {
    RunHosted(command);
  }
  return {bare_, hosted_, pass.ours};
}

void RequestTurns::Write(const refhost::TraceRecord& record) {
  if (file_) {
    file_->Write(record);
  }
  if (!record.text.starts_with(kBeforeCommand)) {
    return;
  }
  const Cost start = Now();
  commands_.emplace_back(record.text.substr(kBeforeCommand.size(), record.text.size() - kBeforeCommand.size() - 1));
  if (takesTurns_) {
    bareFirst_ = !bareFirst_;
    if (bareFirst_) {
      RunBare(commands_.back());
    }
    RunHosted(commands_.back());
    if (!bareFirst_) {
      RunBare(commands_.back());
    }
  }
  notOurs_ = notOurs_ + (Now() - start);
}

// Deleting the answer belongs to each side, for all sides have to: a command that finds an old file empties it, and the
// file system then brings the new content to the disk at once, which costs more than the request.

void RequestTurns::RunBare(const std::string& command) {
  const Cost start = Now();
  RunByShell(command);
  unlink(ResultFile(command).c_str());
  bare_ = bare_ + (Now() - start);
}

void RequestTurns::RunHosted(const std::string& command) {
  const Cost start = Now();
  RunByHost(command);
  CCommon_Information::RetryDeleteFile(ResultFile(command));
  hosted_ = hosted_ + (Now() - start);
}

}  // namespace bench
