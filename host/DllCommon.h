// Utility services of the host framework (liborv_DllCommon.so): trace, strings, files, processes, archives, XML and a
// few shims in the Win32 manner. All are safe to call from any thread; none keeps a pointer that it was passed.
#ifndef HOST_DLL_COMMON_H
#define HOST_DLL_COMMON_H

#include <list>
#include <memory>
#include <string>

// Trace and debug output.
class CTraceUtility {
 public:
  enum TRACE_DBG_LEVEL {
    TRACE_DBG_INFO = 1,    // executed command lines, values, progress
    TRACE_DBG_ERROR = 2,   // errors and final failures
    TRACE_DBG_FLOW = 4,    // start and end lines of operations
    TRACE_DBG_RETRY = 16,  // a failed attempt that is tried again
  };

  // Writes one debug line to the channel `module` when `level` is enabled. `format` and what follows are printf's.
  static void WriteDebug(const char* module, TRACE_DBG_LEVEL level, const char* format, ...)
      __attribute__((format(printf, 3, 4)));

  // Writes a record for operators: the catalogue's message `messageId` ("MSGID_BMC_0001_F", four digits) with the
  // NUL-terminated texts that follow inserted: a detail code for all messages but MSGID_BMC_0015_F, which takes two
  // versions, and MSGID_BMC_0024_F and MSGID_BMC_0025_F, which take none.
  static void WriteTrace(const char* module, const char* messageId, ...);
};

// Debug aid that returns at once and has no result. `arg` may be left out or null.
void ShowMessage(const wchar_t* text, const wchar_t* caption);
void ShowMessage(const wchar_t* text, const char* arg = nullptr);

// Numeric id of the calling thread; fits 32 bits.
unsigned long GetCurrentThreadId();

// Blocks the calling thread for `milliseconds`.
void Sleep(unsigned long milliseconds);

// Makes the folder `path`, readable by its owner only. 0 when it was made, -1 with errno set otherwise.
int _mkdir(const char* path);

// Error number of the calling thread's last failed system call.
unsigned long GetLastError();

// Text operations. Only ASCII letters are converted.
class CStringUtil {
 public:
  static std::string StringToLowerCase(std::string text);
  static std::string StringToUpperCase(std::string text);

  // The fields of `text` between occurrences of `separator`, in order, empty ones included: one field when the
  // separator does not occur, none for an empty text. `text` is not changed.
  static std::list<std::string> Split(std::string& text, const std::string& separator);

  // Replaces every occurrence of `from` in `text` by `to`, from left to right; an empty `from` changes nothing.
  static void strReplace(std::string& text, const std::string& from, const std::string& to);

  // Number to decimal text, and decimal text to number (0 for a text that is not a number).
  static std::string NumberToTString(long number);
  static long TStringToNumber(std::string text);

  // Hexadecimal text to decimal text: "0a" gives "10". A text that is not hexadecimal gives "0".
  static std::string xatoa(std::string hex);
};

// Paths of the host's installation.
class CFileUtility {
 public:
  // Folder of the given kind, kInstallation or kManagementLibraries of Results.h, without a trailing separator; "" for
  // any other kind.
  static std::string GetInstallPath(int kind);

  // True when `path` is there and is not a folder.
  static bool IsFileExist(std::string path);
};

// System information and processes.
class CCommon_Information {
 public:
  // Runs `command` by the shell in `workDir` ("" for the current folder) with its standard output in `outputFile` (""
  // for discarded, unless the command redirects it). Of Results.h: kCommandRan when the command ran to its end, its
  // exit status is then in `*exitCode`; kCommandNotRun when it could not be run or was ended by a signal;
  // kCommandTimedOut when it ran longer than `timeoutMs` milliseconds (kNoTimeLimit for no limit) and was ended.
  static int ExecForeignModule(const std::string& command, const std::string& outputFile, const std::string& workDir,
                               unsigned long* exitCode, unsigned long timeoutMs);

  // First line that `command` prints, without its newline; "" when it prints nothing or cannot be run.
  static std::string GetResultLine(const std::string& command);

  // Server type of this machine in lower case, e.g. "kv6000", "kv6000rt"; "" when unknown. `module` is the channel.
  static std::string GetServerType(std::string module);

  // Processor architecture, e.g. "x86_64".
  static std::string GetArchitectureInfo(const std::string& module);

  // 0 when the operating system's IPMI service is running.
  static int GetIpmiServiceState(std::string module);

  // Deletes the file `path`, trying again for a short while; true when it is gone, also when it was never there.
  static bool RetryDeleteFile(const std::string& path);

  // True when `path` is there, of any kind.
  static bool MyPathFileExists(const std::string& path);
};

// Update packages and folders.
class CUnzip_Utility {
 public:
  // Unpacks the archive `package` into the existing folder `folder`: all of it, or only the members that `fileList`
  // names when it is given and not empty. False, with the reason in `*message`, when the archive cannot be read or a
  // member would leave the folder. `module` is the trace channel.
  static bool UpdateModuleUnzip(std::string package, std::list<std::string>* fileList, std::string folder,
                                std::string* message, std::string module);

  // Removes `folder` with everything in it; true also when it was not there. `module` is the trace channel.
  static bool DeleteFolder(std::string folder, std::string module);
};

// An XML element with its attributes and child elements, both in the order in which they were added.
class COrvXmlNode {
 public:
  explicit COrvXmlNode(std::string name);
  COrvXmlNode(const COrvXmlNode& other);
  COrvXmlNode& operator=(const COrvXmlNode&) = delete;
  ~COrvXmlNode();

  void addAttribute(std::string name, std::string value);

  // Adds a copy of `child`.
  void addChildNode(const COrvXmlNode& child);

 private:
  friend class COrvXmlWrite;
  struct Content;
  std::unique_ptr<Content> content_;
};

// Writes an element tree to a file.
class COrvXmlWrite {
 public:
  COrvXmlWrite();
  ~COrvXmlWrite();

  // Writes the document with the root element `root` to `path`; true on success. A file that was there before is
  // replaced only by a complete new one.
  bool writeXML(std::string path, COrvXmlNode root);
};

#endif  // HOST_DLL_COMMON_H
