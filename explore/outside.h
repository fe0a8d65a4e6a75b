// What the C library's calls that reach outside act on while the tool is on the stage. The calls themselves stand in
// file_calls.cpp, path_calls.cpp, stream_calls.cpp and process_calls.cpp: the program exports them, so that the
// plug-in, the host's libraries and the C++ library find these.
#ifndef EXPLORE_OUTSIDE_H
#define EXPLORE_OUTSIDE_H

#include <string>

#include "explore/descriptors.h"
#include "explore/disk.h"
#include "explore/programs.h"

namespace explore {

struct Outside {
  Disk* disk = nullptr;
  Programs* programs = nullptr;
  Descriptors descriptors;
  std::string plugin;  // the real files
  std::string managementLibrary;
  std::string output;                     // what the tool wrote to its standard output
  std::shared_ptr<OpenFile> errorOutput;  // the file that stands in the place of the standard error; null for none
  int temporaries = 0;                    // files of which the tool left the name to the system
  // Of seeded defects: what happens to a call that is told by its words, and what it answers then.
  bool losesStartOfFlash = false;
  bool losesEndOfCommands = false;
  bool locksNothing = false;
  bool leavesStagedPackage = false;
  bool leaksDescriptors = false;
};

[[nodiscard]] Outside& TheOutside();

// Closes what the tool left open, as the end of its process does; the number of descriptors that were open.
int CloseWhatIsOpen();

// Puts the standard streams aside, once; what is printed from here on goes through Print().
void TakeStandardStreams();
void Print(const std::string& text);

// Whether something that was printed could not be written.
[[nodiscard]] bool OutputIsLost();
void GiveBackErrorOutput();  // after a run that was cut off

}  // namespace explore

#endif  // EXPLORE_OUTSIDE_H
