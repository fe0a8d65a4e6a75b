#include "bench/request_turns.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "bench/shell.h"

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
    RunBare(commands_.back());
    RunHosted(commands_.back());
  }
  notOurs_ = notOurs_ + (Now() - start);
}

// The plug-in always writes to a new file. Emptying an old one instead would make the file system bring the file to the
// disk when it is closed, which costs more than all the rest. So each of these takes its answer away.

void RequestTurns::RunBare(const std::string& command) {
  const Cost start = Now();
  RunByShell(command);
  bare_ = bare_ + (Now() - start);
  unlink(ResultFile(command).c_str());
}

void RequestTurns::RunHosted(const std::string& command) {
  const Cost start = Now();
  RunByHost(command);
  hosted_ = hosted_ + (Now() - start);
  unlink(ResultFile(command).c_str());
}

}  // namespace bench
