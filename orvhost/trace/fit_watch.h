// Reads the plug-in's trace while it judges a package for this machine, or compares its version with the running one,
// and keeps what it says of the machine.
// Like TraceWatch it guesses nothing: each answer rests on a line that the plug-in wrote.
#ifndef ORVHOST_TRACE_FIT_WATCH_H
#define ORVHOST_TRACE_FIT_WATCH_H

#include <optional>
#include <string>

#include "refhost/trace_sink.h"

namespace orvhost {

class FitWatch : public refhost::TraceSink {
 public:
  struct Machine {
    std::string model;  // "" for the ordinary one
    std::string serialNumber;
  };

  void Write(const refhost::TraceRecord& record) override;

  // The machine, when the plug-in said that its model is not the package's.
  [[nodiscard]] const std::optional<Machine>& OfOtherModel() const { return ofOtherModel_; }

  // The machine's serial number as the plug-in found it ("" for none), when it said that no model follows from it.
  [[nodiscard]] const std::optional<std::string>& SerialWithoutModel() const { return serialWithoutModel_; }

  // The running version as the plug-in found it, when it said that the package's does not fit it.
  [[nodiscard]] const std::optional<std::string>& OfOtherVersion() const { return ofOtherVersion_; }

  // The plug-in could not read the server type, and so compared nothing; it answers that as "no difference".
  [[nodiscard]] bool ComparedNothing() const { return comparedNothing_; }

 private:
  std::optional<Machine> ofOtherModel_;
  std::optional<std::string> serialWithoutModel_;
  std::optional<std::string> ofOtherVersion_;
  bool comparedNothing_ = false;
};

}  // namespace orvhost

#endif  // ORVHOST_TRACE_FIT_WATCH_H
