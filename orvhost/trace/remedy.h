// What to do about a failure that the plug-in recorded: the catalogue's remedy for its detail code, which "explain"
// gives too. Pure.
#ifndef ORVHOST_TRACE_REMEDY_H
#define ORVHOST_TRACE_REMEDY_H

#include <string>

#include "orvhost/trace/trace_watch.h"

namespace orvhost {

// For the last record; "" when there is none, or none with a detail code of the catalogue.
[[nodiscard]] std::string RemedyFor(const TraceWatch& watch);

// The next step of a run that left the flash alone: that remedy, as far as there is one, and to try again.
[[nodiscard]] std::string RemedyThenAgain(const TraceWatch& watch);

}  // namespace orvhost

#endif  // ORVHOST_TRACE_REMEDY_H
