// Where the plug-in keeps its own files: IPMI result files, the update work folder and the update marker.
#ifndef IPMI_SCRATCH_DIRECTORY_H
#define IPMI_SCRATCH_DIRECTORY_H

#include <string>

namespace kestrel {

// The scratch folder below the host's installation, without a trailing separator.
[[nodiscard]] std::string ScratchDirectory();

// Makes the scratch folder and its parent; they usually exist already, so the results are of no interest.
void MakeScratchDirectory();

}  // namespace kestrel

#endif  // IPMI_SCRATCH_DIRECTORY_H
