// What the command line of one run asks for. Filled once, never changed afterwards.
#ifndef ORVHOST_INTERFACE_OPTIONS_H
#define ORVHOST_INTERFACE_OPTIONS_H

#include <string>
#include <vector>

namespace orvhost {

// The vendor method that puts written firmware into operation.
inline constexpr const char* kRebootMethod = "Reboot";

// One setting that holds for every subcommand.
struct Setting {
  std::string key;
  std::string value;
  std::string origin;
};

struct Options {
  // Of every subcommand.
  std::string pluginPath;
  std::string installPath;
  std::string serverType;  // "" for the one that the machine tells
  std::string logFile;     // "" for none
  std::string signatures;  // "required", "warn" or "off"; "" for what the folder of keys makes of it
  std::string keyFolder;
  bool verbose = false;
  bool quiet = false;
  bool yes = false;
  bool json = false;
  std::string color = "auto";     // or "never"
  std::vector<Setting> settings;  // of the ones above, with where each comes from
  std::string commandLine;        // as it is to be typed to run the same again
  // Those of the ones above that the command line gives and a next command needs too; begins with a blank, or is "".
  std::string repeated;

  // Of some subcommands.
  bool dryRun = false;          // tell what would be done and change nothing
  bool allowOlder = false;      // write a version that is older than the running one
  bool allowReinstall = false;  // write the running version, or the one that waits, again
  std::string packagePath;

  // Of one subcommand each.
  std::string outFolder = ".";
  std::string methodName;
  std::string metricsFile;  // "" for the standard output
  bool ifWaiting = false;   // verify only what waits for it
  std::string pageFile;     // of a run, or a validation, as a page; "" for none
  std::string runName;      // id of a run, the beginning of one, or "last"
  std::vector<std::string> codes;
  std::string source;   // of a package that is to be made: an image or a folder
  std::string outFile;  // where that package is to stand
  std::string firmwareVersion;
  std::string packageName;
  std::string packageModel;
  std::vector<std::string> forTypes;  // server types
  std::string signingKey;
  double timeLimit = 20.0;  // seconds for each check of a plug-in
  std::string className;    // vendor class to validate; "" for the one that this tool works with
};

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_OPTIONS_H
