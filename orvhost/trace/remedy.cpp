#include "orvhost/trace/remedy.h"

#include "refhost/catalogue.h"

namespace orvhost {

std::string RemedyFor(const TraceWatch& watch) {
  const auto parts = refhost::SplitDetail(watch.LastDetail());
  return parts && !parts->empty() ? std::string(parts->front().detail->remedy) : "";
}

}  // namespace orvhost
