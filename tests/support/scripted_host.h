// The host of the unit tests. It stands in for both host libraries and for the libc calls that reach outside: it
// answers as the test has scripted and writes everything that the plug-in does into one ordered journal. Nothing
// sleeps, runs a command or leaves the host's temporary folder.
//
// Journal lines:
//   4 TEXT                          debug line of that level
//   record MSGID DETAIL...          trace record
//   show TEXT|CAPTION               debug message
//   sleep MS
//   exec COMMAND limit MS           CCommon_Information::ExecForeignModule
//   line COMMAND                    CCommon_Information::GetResultLine
//   system COMMAND
//   ask WHAT                        a question to the host, e.g. "ask server type"
//   probe PATH                      an fopen
//   exists PATH                     CFileUtility::IsFileExist, CCommon_Information::MyPathFileExists
//   delete PATH                     CCommon_Information::RetryDeleteFile
//   mkdir PATH
//   delete folder PATH
//   unpack PACKAGE to PATH
//   list folder PATH                an opendir
//   write PATH                      COrvXmlWrite::writeXML
//   open library PATH               a dlopen below the install path, and the dlclose of what it opened
//   close library
//   library OPERATION               the scripted management library is called
// What a forked child notes goes into a journal of its own; what fails in it fails the test. /dev/console is the file
// "$I/console".
// "$I" stands for the install path in every line.
#ifndef TESTS_SUPPORT_SCRIPTED_HOST_H
#define TESTS_SUPPORT_SCRIPTED_HOST_H

#include <sys/types.h>

#include <deque>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/Records.h"
#include "tests/support/descriptor_watch.h"
#include "tests/support/lines.h"
#include "tests/support/scripted_management_library.h"

// How a scripted command ends: what ExecForeignModule returns, the exit status, which may be left as it was, what the
// command prints, and what it changes in the host, if anything.
struct CommandEnd {
  int result = 0;
  std::optional<unsigned long> exitCode = 0;
  std::string output;
  std::function<void()> effect = nullptr;
};

class ScriptedHost {
 public:
  ScriptedHost();  // the host of this process from here on; one at a time
  // Fails the test when a scripted answer was never asked for, a library or any other file is still open, or a check
  // failed in a forked child.
  ~ScriptedHost();

  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;

  static ScriptedHost* Current();

  // --- What the plug-in finds. Set freely, also between calls.
  std::string serverType = "kv6000";
  std::string architecture = "x86_64";
  int ipmiServiceState = 0;
  std::set<std::string> readableFiles;     // that fopen and the existence tests find, with "$I" for the install path
  std::set<std::string> undeletableFiles;  // that RetryDeleteFile fails on
  std::vector<std::string> workFolderEntries;  // what readdir gives, in order
  bool folderCanBeListed = true;
  bool packageCanBeUnpacked = true;
  bool documentsCanBeWritten = true;
  bool foldersCanBeMade = true;  // by _mkdir
  unsigned long threadId = 0x1a2b;
  std::deque<bool> folderDeletions;                          // results of the next folder deletions; true when empty
  const std::list<std::string>* unpackedFileList = nullptr;  // that the last unpacking was given
  std::deque<int> gethostnameResults;
  std::string hostName = "node7";
  bool firmwareCanBeMade = true;  // otherwise the CFirmware constructor throws
  CManageRepositoryInfo updateModule;
  CManageRepositoryInfo oldModule;
  CManageRepositoryInfo operatingModule;
  std::vector<std::string> localesAskedFor;  // names, in the order in which the plug-in made them
  std::map<std::string, bool> locales;       // whether the machine has one of that name; where silent, as it really is

  // --- Libraries and memory. Libraries are real; those that play the management library follow this script.
  ScriptedManagementLibrary managementLibrary;
  std::optional<int> closeLibraryError;  // errno of a dlclose that fails
  bool memoryForNextNothrowNew = true;

  // --- Child processes. They are real; what is scripted is the passing of time while one runs.
  bool forkFails = false;
  bool waitFails = false;
  int pollsWhileRunning = 0;      // that find the child still running; the one after them waits for its end
  std::deque<bool> consoleOpens;  // whether the next opens of /dev/console succeed; true when empty
  pid_t lastChild = -1;
  int waitOptions = -1;  // of the last wait for it

  // Called with the descriptor before each read(2), which then fails with the errno that this gives, unless that is 0.
  std::function<int(int descriptor)> atRead;

  // --- The BMC. Bytes are hexadecimal texts separated by blanks; a request is NetFn, Cmd, data.
  // The next call of `request` is answered by completion code and data `answer`. Through ipmitool a completion code
  // other than 00 becomes what that tool makes of it: exit status 1 and no output.
  void Answer(const std::string& request, const std::string& answer, int times = 1);
  // Every call of `request` for which nothing else is scripted.
  void AnswerAlways(const std::string& request, const std::string& answer);
  // The next call of `request` ends so, with this raw output of the tool.
  void AnswerRaw(const std::string& request, const CommandEnd& end, int times = 1);

  // --- Other commands. Keys are whole command lines with "$I" for the install path.
  void Command(const std::string& command, const CommandEnd& end, int times = 1);  // ExecForeignModule
  void ResultLine(const std::string& command, const std::string& line, int times = 1);
  void System(const std::string& command, int result, int times = 1);
  bool systemIsReal = false;  // system() runs its command, which must stay within the install path

  // For a test of so many requests that scripts and a journal would take too long. While it is set, nothing is noted,
  // and every command of ExecForeignModule is given to it and ends well; the result file is for it to write.
  std::function<void(const std::string& commandLine)> quickTool;

  // --- The XML documents that the plug-in wrote, the last one at the end: a line per element in document order, two
  // blanks deeper than its parent, e.g. "  attr name=[BMC Version] value=[01-23]".
  std::vector<std::vector<std::string>> writtenDocuments;

  // --- The journal.
  void Note(const std::string& line);
  std::vector<std::string> TakeJournal();       // and starts a new one
  std::vector<std::string> TakeChildJournal();  // what forked children have noted so far

  // --- For the services.
  const std::filesystem::path& InstallPath() const { return installPath_; }
  std::string Shorten(std::string text) const;  // install path to "$I"
  CommandEnd RunCommand(const std::string& commandLine);
  std::string TakeResultLine(const std::string& command);
  int RunSystem(const std::string& command);
  void BecomeChild();                  // in a forked child: what fails from here on is left to the parent to say
  std::multiset<void*> openLibraries;  // handles, once for each time that the plug-in opened one

 private:
  template <typename T>
  using Script = std::map<std::string, std::deque<T>>;

  CommandEnd RunIpmi(const std::string& request);
  std::filesystem::path ChildFailures() const { return installPath_ / "child-failures"; }
  void ExpectNoChildFailures() const;

  const DescriptorWatch descriptors_;
  const pid_t process_;
  std::filesystem::path installPath_;
  std::vector<std::string> journal_;
  Script<CommandEnd> ipmi_;
  std::map<std::string, CommandEnd> ipmiAlways_;
  Script<CommandEnd> commands_;
  Script<std::string> resultLines_;
  Script<int> systems_;
};

// The journal of one request through ipmitool, by ExecIPMICommand, that ran and was answered with completion code 00.
Lines Request(const std::string& request);
// The same when the tool ended with `exitCode`, as it does for every other completion code.
Lines FailedRequest(const std::string& request, unsigned long exitCode = 1);
// The same when the tool ended well but its answer could not be read.
Lines BrokenRequest(const std::string& request);
// Answered, failed and broken through the maker's tool, where every completion code is an answer.
Lines MakersRequest(const std::string& request);
Lines FailedMakersRequest(const std::string& request, unsigned long exitCode = 1);
Lines BrokenMakersRequest(const std::string& request);

// Journal line of a start or end line etc.: Flow("X() [START]") is "4 X() [START]".
Lines Flow(const std::string& text);

inline constexpr const char* kIpmitoolPath = "/usr/bin/ipmitool";
inline constexpr const char* kMakersToolPath = "/opt/kestrel/node_keeper/ipmi_tools/ipmicmd";
inline constexpr const char* kResultFile = "$I/tmp/KV6KBMC/IPMIResult00001a2b";

#endif  // TESTS_SUPPORT_SCRIPTED_HOST_H
