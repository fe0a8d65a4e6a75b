#include "orvhost/trace/remedy.h"

#include "refhost/catalogue.h"

namespace orvhost {

std::string RemedyFor(const TraceWatch& watch) {
  const auto parts = refhost::SplitDetail(watch.LastDetail());
  return parts && !parts->empty() ? std::string(parts->front().detail->remedy) : "";
}

std::string RemedyThenAgain(const TraceWatch& watch) {
  const std::string remedy = RemedyFor(watch);
  if (remedy.empty()) {
    return "Look at what the lines above name, then run the same command again.";
  }
  return remedy.find("again") != std::string::npos ? remedy : remedy + " Then run the same command again.";
}

}  // namespace orvhost
