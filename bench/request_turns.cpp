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

RequestTurns::RequestTurns(const BenchHost& host) : TraceFile(host.TraceFilePath()) {
  refhost::SetTraceSink(this);
}

RequestTurns::~RequestTurns() {
  refhost::SetTraceSink(nullptr);
}

Pass RequestTurns::Measure(int requests, const std::function<void()>& operation) {
  bare_ = {};
  notOurs_ = {};
  requests_ = 0;
  const Cost start = Now();
  operation();
  const Cost whole = Now() - start;
  if (requests_ != requests) {
    std::fprintf(stderr, "%d requests were sent where %d belong\n", requests_, requests);
    std::exit(1);
  }
  return {bare_, whole - notOurs_};
}

void RequestTurns::Write(const refhost::TraceRecord& record) {
  TraceFile::Write(record);
  if (!record.text.starts_with(kBeforeCommand)) {
    return;
  }
  const Cost start = Now();
  const std::string command(record.text.substr(kBeforeCommand.size(), record.text.size() - kBeforeCommand.size() - 1));
  const Cost before = Now();
  RunByShell(command);
  bare_ = bare_ + (Now() - before);
  // The plug-in always writes to a new file. Emptying an old one instead would make the file system bring the file to
  // the disk when it is closed, which costs more than all the rest.
  unlink(ResultFile(command).c_str());
  ++requests_;
  notOurs_ = notOurs_ + (Now() - start);
}

}  // namespace bench
